#include "player/checking/CheckRules.h"

namespace Zelvan::play {

void checkNormals(KeyedValues const& values, FindingCollector& findings)
{
    constexpr double shortest = 1e-6, opposite = -0.9995; // within 2 degrees
    for (std::size_t i = 0; i < values.count * values.perKey; ++i) {
        Numbers const a = values.value(i);
        if (length(a) < shortest) {
            findings.add(
                "zero-normal", values.node, values.valueField,
                [&] { return values.valueName(i) + " is zero: a normal needs a direction"; }, "write a vector of length 1");
        } else if (i + values.perKey < values.count * values.perKey) {
            std::size_t const next = i + values.perKey;
            Numbers const b = values.value(next);
            if (values.blends(i / values.perKey) && dot(a, b) < opposite * length(a) * length(b))
                findings.add(
                    "opposite-normals", values.node, values.valueField,
                    [&] {
                        return values.valueName(i) + ' ' + listed(a) + " and [" + std::to_string(next) + "] " + listed(b)
                            + " are opposite: the blend passes through zero";
                    },
                    "add a key in between, with a normal to pass by");
        }
    }
}

} // namespace Zelvan::play
