// Texts and binary forms of all field classes: what was read reads back to the same bits, what was refused left the
// field as it was.

#include "base/Fields.h"
#include "fuzz/Input.h"
#include "player/Scene.h"

#include <memory>

namespace Zelvan::fuzz {
namespace {

constexpr NodePartDataType types[] = {SFBoolType,     SFColorType,    MFColorType,    SFFloatType,  MFFloatType,
                                      SFMatrix4fType, MFMatrix4fType, SFRotationType, MFRotationType, SFStringType,
                                      SFTimeType,     SFVec2fType,    MFVec2fType,    SFVec3fType,  MFVec3fType};

bool isRotation(Field const& field)
{
    return field.dataType() == SFRotationType || field.dataType() == MFRotationType;
}

/// Bits of a value as far as a text carries them: of rotations axis and angle.
std::string textBits(Field const& field)
{
    std::string const all = field.getValueAsBin(-1);
    if (!isRotation(field))
        return all;
    std::string bits;
    for (std::size_t at = 0; at < all.size(); at += sizeof(Rotation))
        bits += all.substr(at + 4 * sizeof(float), 4 * sizeof(float));
    return bits;
}

void requireRoundTrip(Field& field)
{
    std::unique_ptr<Field> const copy = play::makeField(field.dataType());
    std::string const bin = field.getValueAsBin(-1);
    require(copy->setValueByBin(bin) && copy->getValueAsBin(-1) == bin, "a binary form reads back");
    require(copy->size() == field.size(), "a binary form keeps the size");

    std::string const text = field.getValueAsStr();
    if (text.find('\0') != std::string::npos)
        return; // a text ends there
    require(copy->setValueByStr(text.c_str(), Field::multiple), "a text is taken back");
    require(copy->getValueAsStr() == text, "a text reads back");
    require(textBits(*copy) == textBits(field), "a value reads back from its text");
}

void step(Field& field, Input& input)
{
    unsigned const operation = input.below(6);
    int const index = static_cast<int>(input.below(6)) - 1;
    std::string const given = input.bytes(input.below(200));
    std::string const before = field.getValueAsBin(-1), one = field.get1ValueAsBin(index);
    bool const list = field.cardinality() == Field::multiple;
    bool taken = true;
    bool const text = operation % 2 == 0;
    switch (operation) {
    case 0: taken = field.setValueByStr(given.c_str(), list ? Field::multiple : Field::single); break;
    case 1: taken = field.setValueByBin(given); break;
    case 2: taken = field.set1ValueByStr(index, given.c_str()); break;
    case 3: taken = field.set1ValueByBin(index, given); break;
    case 4: {
        unsigned const old = field.size();
        int const added = field.addValueByStr(given.c_str(), Field::multiple);
        require(field.size() == old + static_cast<unsigned>(added), "added elements are counted");
        require(!list || field.getValueAsBin(-1).compare(0, before.size(), before) == 0, "adding keeps what was there");
        break;
    }
    default: field.resize(input.below(8)); break;
    }
    if (!taken) {
        require(field.getValueAsBin(-1) == before, "a refusal leaves the field as it was");
        FieldTextError const& error = Field::textError();
        bool const exists = !list || operation == 0 || !one.empty();
        require(!text || !exists || (!error.expected.empty() && error.position <= given.size()), "a refusal tells why");
    }
    requireRoundTrip(field);

    std::string const element = field.get1ValueAsStr(index), bits = textBits(field);
    if (element.find('\0') == std::string::npos && !field.get1ValueAsBin(index).empty()) {
        require(field.set1ValueByStr(index, element.c_str()), "the text of an element is taken back");
        require(textBits(field) == bits, "an element reads back from its text");
        require(field.set1ValueByBin(index, field.get1ValueAsBin(index)), "the binary form of an element is taken back");
        require(textBits(field) == bits, "an element reads back from its binary form");
    }
}

} // namespace
} // namespace Zelvan::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace Zelvan::fuzz;
    Input input(data, size);
    auto const field = Zelvan::play::makeField(types[input.below(std::size(types))]);
    for (int steps = 0; steps < 4 && !input.empty(); ++steps)
        step(*field, input);
    return 0;
}
