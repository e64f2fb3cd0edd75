#include "player/checking/CheckRules.h"

#include "base/Fields.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

namespace {

void checkEase(KeyedValues const& values, FindingCollector& findings)
{
    for (std::size_t i = 0; i < values.count; ++i) {
        Numbers const pair = values.value(i);
        if (std::min(pair[0], pair[1]) < 0 || std::max(pair[0], pair[1]) > 1)
            findings.add(
                "ease-range", values.node, values.valueField,
                [&] { return values.valueName(i) + " is " + listed(pair) + ", outside 0 to 1"; },
                "the two numbers are shares of an interval");
    }
}

void checkFlags(KeyedValues const& values, FindingCollector& findings)
{
    for (char const* const name : {"closed", "normalizeVelocity"})
        if (auto const* const field = static_cast<SFBool const*>(fieldOf(values.node, name)); field && field->_value)
            findings.add(
                "no-effect", values.node, field,
                [&] {
                    return '.' + std::string(name)
                        + ": X3D has it, it changes nothing here, other players bend the curve by it";
                },
                "");
}

} // namespace

void checkValues(KeyedValues const& values, FindingCollector& findings)
{
    checkFlags(values, findings);
    if (values.count == 0)
        return;
    if (!values.finite) {
        for (std::size_t i = 0; i < values.count * values.perKey; ++i)
            if (!std::ranges::all_of(values.value(i), [](double number) { return std::isfinite(number); }))
                findings.add(
                    "not-finite", values.node, values.valueField,
                    [&] { return values.valueName(i) + " is " + listed(values.value(i)); }, "write numbers");
        return;
    }
    switch (values.valueField->dataType()) {
    case MFRotationType: return checkRotations(values, findings);
    case MFColorType: return checkColors(values, findings);
    case MFMatrix4fType: return checkMatrices(values, findings);
    default: break;
    }
    if (values.eases())
        checkEase(values, findings);
    else if (values.type() == "NormalInterpolator")
        checkNormals(values, findings);
}

} // namespace Zelvan::play
