// Texts and binary forms of all field classes: what was read reads back to the same bits, what was refused left the
// field as it was.

#include "fuzz/Input.h"
#include "player/scene/Scene.h"

namespace Zelvan::fuzz {
namespace {

constexpr NodePartDataType types[] = {SFBoolType,     SFColorType,    MFColorType,    SFFloatType,    MFFloatType,
                                      SFMatrix4fType, MFMatrix4fType, SFRotationType, MFRotationType, SFStringType,
                                      SFTimeType,     SFVec2fType,    MFVec2fType,    SFVec3fType,    MFVec3fType};

/// Bits of a value as far as a text carries them: of rotations axis and angle.
std::string textBits(Field const& field)
{
    std::string bits = field.getValueAsBin(-1);
    bool const rotations = field.dataType() == SFRotationType || field.dataType() == MFRotationType;
    for (std::size_t at = 0; rotations && at < bits.size(); at += 16)
        bits.erase(at, 16).erase(at + 16, 4);
    return bits;
}

void roundTrip(Field& field, int index)
{
    auto const copy = play::makeField(field.dataType());
    std::string const bin = field.getValueAsBin(-1), one = field.get1ValueAsBin(index);
    require(copy->setValueByBin(bin) && copy->getValueAsBin(-1) == bin, "a binary form reads back");
    std::string const text = field.getValueAsStr(), element = field.get1ValueAsStr(index), bits = textBits(field);
    if (text.find('\0') != text.npos)
        return; // a text ends there
    require(copy->setValueByStr(text.c_str(), Field::multiple) && copy->getValueAsStr() == text, "texts read back");
    require(textBits(*copy) == bits, "a value reads back from its text");
    bool const taken = field.set1ValueByBin(index, one) && field.set1ValueByStr(index, element.c_str());
    require(one.empty() || taken, "an element is taken back");
    require(textBits(field) == bits, "an element reads back");
}

void step(Field& field, Input& input)
{
    unsigned const operation = input.below(6), size = field.size();
    int const index = static_cast<int>(input.below(6)) - 1;
    std::string const given = input.bytes(input.below(200)), before = field.getValueAsBin(-1);
    bool taken = true;
    switch (operation) {
    case 0: taken = field.setValueByStr(given.c_str(), Field::multiple); break;
    case 1: taken = field.setValueByBin(given); break;
    case 2: taken = field.set1ValueByStr(index, given.c_str()); break;
    case 3: taken = field.set1ValueByBin(index, given); break;
    case 4: {
        auto const added = static_cast<unsigned>(field.addValueByStr(given.c_str(), Field::multiple));
        bool const kept = field.cardinality() == Field::single || field.getValueAsBin(-1).starts_with(before);
        require(field.size() == size + added && kept, "added elements are counted, and follow what was there");
        break;
    }
    default: field.resize(input.below(8));
    }
    require(taken || field.getValueAsBin(-1) == before, "a refusal leaves the field as it was");
    require(taken || operation != 0 || !Field::textError().expected.empty(), "a refusal says why");
    roundTrip(field, index);
}

} // namespace
} // namespace Zelvan::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Zelvan::fuzz::Input input(data, size);
    using Zelvan::fuzz::types;
    auto const field = Zelvan::play::makeField(types[input.below(static_cast<unsigned>(std::size(types)))]);
    for (int steps = 0; steps < 4 && !input.empty(); ++steps)
        Zelvan::fuzz::step(*field, input);
    return 0;
}
