#include "base/Fields.h"

#include "base/FieldText.h"

#include <cstring>
#include <string_view>

namespace Zelvan {

namespace {

// How each element type is written: as text in `numbers` numbers, in binary as its own words.
template <class E>
struct Element;

template <class E, unsigned count>
struct NumberElement {
    static constexpr unsigned numbers = count;
    static void fromNumbers(E& value, float const* n) { std::memcpy(static_cast<void*>(&value), n, count * sizeof(float)); }
    static void toNumbers(E const& value, float* n) { std::memcpy(n, &value, count * sizeof(float)); }
    static bool validBin(char const*) { return true; }
};

template <>
struct Element<float> : NumberElement<float, 1> {
    static constexpr char const* what = "one number";
};
template <>
struct Element<osg::Color3<float>> : NumberElement<osg::Color3<float>, 3> {
    static constexpr char const* what = "three numbers (red green blue)";
};
template <>
struct Element<osg::Vector<float, 2u>> : NumberElement<osg::Vector<float, 2u>, 2> {
    static constexpr char const* what = "two numbers (x y)";
};
template <>
struct Element<osg::Vector<float, 3u>> : NumberElement<osg::Vector<float, 3u>, 3> {
    static constexpr char const* what = "three numbers (x y z)";
};
template <>
struct Element<osg::TransformationMatrix<float>> : NumberElement<osg::TransformationMatrix<float>, 16> {
    static constexpr char const* what = "sixteen numbers (four columns)";
};
template <>
struct Element<Rotation> {
    static constexpr unsigned numbers = 4;
    static constexpr char const* what = "four numbers (axis x y z, angle)";
    static void fromNumbers(Rotation& value, float const* n) { value = Rotation({n[0], n[1], n[2]}, n[3]); }
    static void toNumbers(Rotation const& value, float* n)
    {
        std::memcpy(n, value.axis().getValues(), 3 * sizeof(float));
        n[3] = value.angle();
    }
    static bool validBin(char const* bin)
    {
        unsigned state;
        std::memcpy(&state, bin + 8 * sizeof(float), sizeof state);
        return state <= Rotation::quaternionOnly;
    }
};
template <>
struct Element<double> {
    static constexpr char const* what = "one number (seconds)";
    static bool validBin(char const*) { return true; }
};
template <>
struct Element<bool> {
    static constexpr char const* what = "true or false";
    static bool validBin(char const* bin) { return *bin == 0 || *bin == 1; }
};

std::string counted(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " number" : " numbers");
}

// One element; false with the reason in `error`.
template <class E>
bool readElement(NumberReader& reader, E& value, FieldTextError& error)
{
    float numbers[Element<E>::numbers];
    for (unsigned i = 0; i < Element<E>::numbers; ++i)
        if (!reader.read(numbers[i])) {
            bool const tooFew = i > 0 && reader.atEnd();
            error = {reader.position(), tooFew ? Element<E>::what : reader.expected(), tooFew ? counted(i) : reader.found()};
            return false;
        }
    Element<E>::fromNumbers(value, numbers);
    return true;
}

bool readElement(NumberReader& reader, double& value, FieldTextError& error)
{
    if (reader.read(value))
        return true;
    error = {reader.position(), reader.expected(), reader.found()};
    return false;
}

template <class E>
bool parse(char const* text, E& value, FieldTextError& error)
{
    NumberReader reader(text);
    E read{};
    if (!readElement(reader, read, error))
        return false;
    if (!reader.atEnd()) {
        float extra;
        reader.read(extra);
        error = {reader.position(), std::string("no more than ") + Element<E>::what, reader.found()};
        return false;
    }
    value = read;
    return true;
}

bool parse(char const* text, bool& value, FieldTextError& error)
{
    std::string_view word = text;
    constexpr std::string_view space = " \t\r\n";
    auto const first = std::min(word.find_first_not_of(space), word.size());
    word = word.substr(first);
    word = word.substr(0, word.find_last_not_of(space) + 1);
    bool const yes = word == "true" || word == "TRUE";
    if (!yes && word != "false" && word != "FALSE") {
        error = {first, Element<bool>::what, NumberReader(text + first).found()};
        return false;
    }
    value = yes;
    return true;
}

bool parse(char const* text, std::string& value, FieldTextError&)
{
    value = text;
    return true;
}

template <class E>
bool parse(char const* text, std::vector<E>& list, FieldTextError& error)
{
    NumberReader reader(text);
    std::vector<E> read;
    while (!reader.atEnd()) {
        E element{};
        if (!readElement(reader, element, error)) {
            // A whole list usually lacks a number somewhere: say how many there are in all.
            if constexpr (Element<E>::numbers > 1)
                if (error.expected == Element<E>::what)
                    error = {
                        error.position, "a multiple of " + std::to_string(Element<E>::numbers) + " numbers",
                        counted(read.size() * Element<E>::numbers + static_cast<std::size_t>(std::atoi(error.found.c_str())))};
            return false;
        }
        read.push_back(element);
    }
    list.swap(read);
    return true;
}

template <class E>
void appendText(std::string& text, E const& value)
{
    float numbers[Element<E>::numbers];
    Element<E>::toNumbers(value, numbers);
    for (float const number : numbers) {
        if (!text.empty())
            text += ' ';
        appendNumber(text, number);
    }
}

void appendText(std::string& text, double value)
{
    appendNumber(text, value);
}

void appendText(std::string& text, bool value)
{
    text += value ? "true" : "false";
}

void appendText(std::string& text, std::string const& value)
{
    text += value;
}

template <class E>
void appendText(std::string& text, std::vector<E> const& list)
{
    for (E const& element : list)
        appendText(text, element);
}

template <class E>
std::string bytes(E const& value)
{
    return {reinterpret_cast<char const*>(&value), sizeof value};
}

std::string bytes(std::string const& value)
{
    return value;
}

template <class E>
std::string bytes(std::vector<E> const& list)
{
    return {reinterpret_cast<char const*>(list.data()), list.size() * sizeof(E)};
}

template <class E>
bool fromBytes(std::string const& bin, E& value)
{
    if (bin.size() != sizeof value || !Element<E>::validBin(bin.data()))
        return false;
    std::memcpy(static_cast<void*>(&value), bin.data(), sizeof value);
    return true;
}

bool fromBytes(std::string const& bin, std::string& value)
{
    value = bin;
    return true;
}

template <class E>
bool fromBytes(std::string const& bin, std::vector<E>& list)
{
    if (bin.size() % sizeof(E) != 0)
        return false;
    for (std::size_t at = 0; at < bin.size(); at += sizeof(E))
        if (!Element<E>::validBin(bin.data() + at))
            return false;
    list.resize(bin.size() / sizeof(E));
    if (!list.empty())
        std::memcpy(static_cast<void*>(list.data()), bin.data(), bin.size());
    return true;
}

// An element of a list by index; null when there is none.
template <class List>
auto elementAt(List& list, int index) -> decltype(list.data())
{
    return index >= 0 && static_cast<std::size_t>(index) < list.size() ? list.data() + index : nullptr;
}

} // namespace

template <class T, NodePartDataType code>
NodePartDataType SFieldOf<T, code>::dataType() const
{
    return code;
}

template <class T, NodePartDataType code>
bool SFieldOf<T, code>::setValueByStr(char const* text, Field::Cardinality)
{
    FieldTextError error;
    return parse(text, this->_value, error) || Field::refuseText(std::move(error));
}

template <class T, NodePartDataType code>
std::string SFieldOf<T, code>::getValueAsStr() const
{
    std::string text;
    appendText(text, this->_value);
    return text;
}

template <class T, NodePartDataType code>
std::string SFieldOf<T, code>::get1ValueAsStr(int) const
{
    return getValueAsStr();
}

template <class T, NodePartDataType code>
bool SFieldOf<T, code>::setValueByBin(std::string const& bin)
{
    return fromBytes(bin, this->_value);
}

template <class T, NodePartDataType code>
void SFieldOf<T, code>::setToDefault()
{
    this->_value = T{};
    Field::setToDefault();
}

template <class T, NodePartDataType code>
bool SFieldOf<T, code>::set1ValueByStr(int, char const* text)
{
    return setValueByStr(text, Field::single);
}

template <class T, NodePartDataType code>
unsigned SFieldOf<T, code>::elementSize() const
{
    return std::is_same_v<T, std::string> ? 0 : sizeof(T);
}

template <class T, NodePartDataType code>
std::string SFieldOf<T, code>::getValueAsBin(int) const
{
    return bytes(this->_value);
}

template <class E, NodePartDataType code>
NodePartDataType MFieldOf<E, code>::dataType() const
{
    return code;
}

template <class E, NodePartDataType code>
bool MFieldOf<E, code>::setValueByStr(char const* text, Field::Cardinality cardinality)
{
    FieldTextError error;
    if (cardinality == Field::multiple)
        return parse(text, this->_value, error) || Field::refuseText(std::move(error));
    E element{};
    if (!parse(text, element, error))
        return Field::refuseText(std::move(error));
    this->_value.assign(1, element);
    return true;
}

template <class E, NodePartDataType code>
std::string MFieldOf<E, code>::getValueAsStr() const
{
    std::string text;
    appendText(text, this->_value);
    return text;
}

template <class E, NodePartDataType code>
std::string MFieldOf<E, code>::get1ValueAsStr(int index) const
{
    std::string text;
    if (E const* const element = elementAt(this->_value, index))
        appendText(text, *element);
    return text;
}

template <class E, NodePartDataType code>
bool MFieldOf<E, code>::setValueByBin(std::string const& bin)
{
    return fromBytes(bin, this->_value);
}

template <class E, NodePartDataType code>
void MFieldOf<E, code>::setToDefault()
{
    this->clear();
    Field::setToDefault();
}

template <class E, NodePartDataType code>
bool MFieldOf<E, code>::set1ValueByStr(int index, char const* text)
{
    FieldTextError error;
    E* const element = elementAt(this->_value, index);
    if (element == nullptr)
        error = {0, "an index below " + std::to_string(this->size()), std::to_string(index)};
    return (element != nullptr && parse(text, *element, error)) || Field::refuseText(std::move(error));
}

template <class E, NodePartDataType code>
unsigned MFieldOf<E, code>::elementSize() const
{
    return sizeof(E);
}

template <class E, NodePartDataType code>
std::string MFieldOf<E, code>::getValueAsBin(int index) const
{
    return index < 0 ? bytes(this->_value) : get1ValueAsBin(index);
}

template <class E, NodePartDataType code>
std::string MFieldOf<E, code>::get1ValueAsBin(int index) const
{
    E const* const element = elementAt(this->_value, index);
    return element ? bytes(*element) : std::string();
}

template <class E, NodePartDataType code>
int MFieldOf<E, code>::addValueByStr(char const* text, Field::Cardinality cardinality)
{
    MFieldOf added;
    if (!added.setValueByStr(text, cardinality))
        return 0;
    this->addValueFieldDep(added._value, false);
    return static_cast<int>(added._value.size());
}

template <class E, NodePartDataType code>
bool MFieldOf<E, code>::set1ValueByBin(int index, std::string const& bin)
{
    E* const element = elementAt(this->_value, index);
    return element != nullptr && fromBytes(bin, *element);
}

template class SFieldOf<bool, SFBoolType>;
template class SFieldOf<osg::Color3<float>, SFColorType>;
template class MFieldOf<osg::Color3<float>, MFColorType>;
template class SFieldOf<float, SFFloatType>;
template class MFieldOf<float, MFFloatType>;
template class SFieldOf<osg::TransformationMatrix<float>, SFMatrix4fType>;
template class MFieldOf<osg::TransformationMatrix<float>, MFMatrix4fType>;
template class SFieldOf<Rotation, SFRotationType>;
template class MFieldOf<Rotation, MFRotationType>;
template class SFieldOf<std::string, SFStringType>;
template class SFieldOf<double, SFTimeType>;
template class SFieldOf<osg::Vector<float, 2u>, SFVec2fType>;
template class MFieldOf<osg::Vector<float, 2u>, MFVec2fType>;
template class SFieldOf<osg::Vector<float, 3u>, SFVec3fType>;
template class MFieldOf<osg::Vector<float, 3u>, MFVec3fType>;

} // namespace Zelvan
