#include "interpolationNodePool/PoolLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

namespace Zelvan {

namespace {

// "interpolationNodePool/Spline" of "/any/where/interpolationNodePool/Spline.h": the last directory and the name without extension.
std::string sourceName(char const* file)
{
    std::string name = file;
    if (auto const slash = name.rfind('/'); slash != std::string::npos && slash != 0)
        if (auto const before = name.rfind('/', slash - 1); before != std::string::npos)
            name.erase(0, before + 1);
    if (auto const dot = name.rfind('.'); dot != std::string::npos && name.find('/', dot) == std::string::npos)
        name.erase(dot);
    return name;
}

std::string formatted(char const* format, std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    int const length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

} // namespace

void PoolLog::write(osg::LogLevel level, LogPlace const& place, char const* format, ...)
{
    // Everything that can take time or fail comes before the log's lock is taken.
    std::va_list arguments;
    va_start(arguments, format);
    std::string const text = formatted(format, arguments);
    va_end(arguments);
    std::string const file = sourceName(place.file);

    takes(level); // creates the log
    osg::osgStartLog(true, level, LogModuleName, file.c_str(), place.line, place.function);
    try {
        osg::osgLogP->doLog("%s", text.c_str());
    } catch (...) {
        osg::osgLogP->unlock();
        throw;
    }
    osg::osgLogP->unlock();
}

std::string nameOf(Node const& node)
{
    return node._name.empty() ? node.getIDStr() : node._name;
}

} // namespace Zelvan
