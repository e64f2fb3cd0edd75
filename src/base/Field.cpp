#include "base/Field.h"

#include "base/Route.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Zelvan {

std::string const Field::_typeName = "Field";

namespace {

thread_local FieldTextError lastTextError;

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view space = " \t\r\n";
    auto const first = text.find_first_not_of(space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

bool isAllowed(std::string_view value, std::string_view allowedValues)
{
    for (std::size_t begin = 0; begin <= allowedValues.size();) {
        auto const end = std::min(allowedValues.find(',', begin), allowedValues.size());
        if (trimmed(allowedValues.substr(begin, end - begin)) == value)
            return true;
        begin = end + 1;
    }
    return false;
}

std::string fullName(Field const& field)
{
    return field._node->type()._name + '/' + field._node->displayName() + '.' + field.findName();
}

} // namespace

Field::~Field()
{
    Route::removeAll(*this);
}

char const* Field::findName() const
{
    return _desc ? _desc->_name : "";
}

bool Field::setAndValidateValueByStr(char const* text, bool report)
{
    bool const allowed = _desc == nullptr || _desc->_allowedValues == nullptr || isAllowed(text, _desc->_allowedValues)
        || refuseText({0, std::string("one of: ") + _desc->_allowedValues, text});
    bool const taken = allowed && setValueByStr(text, multiple);
    if (!taken && report && _node != nullptr && logs(osg::LOG_WARNING)) {
        auto const& error = textError();
        writeLog(osg::LOG_WARNING, "base/Field", __LINE__, __PRETTY_FUNCTION__,
                 fullName(*this) + ": expected " + error.expected + " at position " + std::to_string(error.position)
                     + ", found \"" + error.found + "\"\n");
    }
    return taken;
}

void Field::setToDefault()
{
    if (_desc != nullptr && _desc->_defaultValue != nullptr)
        setValueByStr(_desc->_defaultValue, multiple);
}

namespace {

constinit thread_local SendObserver* currentObserver [[gnu::tls_model("initial-exec")]] = nullptr;

} // namespace

SendObserver* Field::observe(SendObserver* observer)
{
    return std::exchange(currentObserver, observer);
}

namespace {

// Apart from the rest, which so needs no room of its own for what comes after a call.
[[gnu::noinline]] void sendObserved(SendObserver& observer, Field& field, TimeStamp const& timeStamp, bool alongRoutes)
{
    observer.sent(field, timeStamp);
    if (alongRoutes && field._routesOut != nullptr)
        Route::deliver(field, timeStamp, false);
}

} // namespace

void Field::send(TimeStamp const& timeStamp, bool alongRoutes, bool recordOnly)
{
    if (currentObserver != nullptr && !recordOnly) [[unlikely]]
        return sendObserved(*currentObserver, *this, timeStamp, alongRoutes);
    if (alongRoutes && _routesOut != nullptr)
        Route::deliver(*this, timeStamp, recordOnly);
}

FieldTextError const& Field::textError()
{
    return lastTextError;
}

bool Field::refuseText(FieldTextError error)
{
    lastTextError = std::move(error);
    return false;
}

void writeFieldLog(osg::LogLevel level, unsigned line, Field const& field, char const* text)
{
    // Compilers print this signature in several ways; the log has one.
    writeLog(level, "base/Field", line, "void Zelvan::Field::processValueChange(const TimeStamp&, Zelvan::Field::CallerType)",
             fullName(field) + ": " + text);
}

} // namespace Zelvan
