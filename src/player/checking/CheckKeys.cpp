#include "player/checking/CheckRules.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

namespace {

void checkCounts(KeyedValues const& values, Drive const& drive, FindingCollector& findings)
{
    SceneNode const& node = values.node;
    std::size_t const keys = values.keys.size(), size = values.size;
    std::string const have =
        ' ' + std::string("has ") + countOf(size, values.eases() ? "pair" : "value") + " for " + countOf(keys, "key");
    if (size < keys) {
        bool const perInterval = values.eases() && size + 1 == keys;
        bool const reached = !(drive.clocked() && values.keys[size - 1] >= 1); // whether the others would count
        findings.add(
            "too-few-values", node, values.valueField,
            [&] {
                return have + ": from key[" + std::to_string(size) + "] on the keys do not count"
                    + (perInterval ? "; easeInEaseOut needs a pair for each key, not for each interval" : "");
            },
            perInterval ? "add a last pair: its first number is the ease into the last key" : "write as many values as keys",
            reached ? Severity::error : Severity::note, perInterval);
    } else if (values.blocks && size % keys != 0) {
        std::size_t const whole = size / keys * keys;
        findings.add(
            "uneven-blocks", node, values.valueField,
            [&] {
                return have + ": " + std::to_string(size / keys) + " for each key, and " + std::to_string(size - whole)
                    + " left over";
            },
            "every key needs the same number of values: " + std::to_string(whole) + " or " + std::to_string(whole + keys)
                + " in all");
    } else if (!values.blocks && size > keys) {
        bool const set = size % keys == 0 && node.typeName.starts_with("Position");
        findings.add(
            "too-many-values", node, values.valueField,
            [&] {
                return have + ": the last "
                    + (size - keys == 1 ? "one does not count" : std::to_string(size - keys) + " do not count");
            },
            set ? "a CoordinateInterpolator takes several values for each key" : "write as many values as keys");
    }
}

void checkOrder(KeyedValues const& values, FindingCollector& findings)
{
    auto const keyName = [](std::size_t i) { return ".key[" + std::to_string(i) + ']'; };
    for (std::size_t i = 0; i < values.count; ++i) {
        float const key = values.keys[i];
        if (!std::isfinite(key))
            findings.add(
                "not-finite", values.node, values.keyField, [&] { return keyName(i) + " is " + shortNumber(key); },
                "write a number");
        if (i == 0)
            continue;
        float const before = values.keys[i - 1];
        if (key < before)
            findings.add(
                "key-order", values.node, values.keyField,
                [&] {
                    return keyName(i) + " is " + shortNumber(key) + ", after " + shortNumber(before)
                        + ": some fractions between them give no value or a wrong one";
                },
                "sort the keys, and their values with them");
        // The usual way to write a step; only a value between two others of one key is lost.
        bool const lost = i > 1 && values.keys[i - 2] == key && !values.same(i - 1, i) && !values.same(i - 2, i - 1);
        if (key == before)
            findings.add(
                "key-equal", values.node, values.keyField,
                [&] {
                    bool const same = values.same(i - 1, i);
                    return keyName(i) + " repeats " + shortNumber(key)
                        + (lost       ? " once more: the value of [" + std::to_string(i - 1) + "] is never held"
                               : same ? ", and its value"
                                      : ": the value jumps there");
                },
                "one of them may go when no jump is meant", lost ? Severity::note : Severity::hint);
    }
}

// Where the keys begin and end, for a fraction that runs from 0 to 1.
void checkSpan(KeyedValues const& values, FindingCollector& findings)
{
    constexpr float rounding = 1e-4f;
    auto const& keys = values.keys;
    auto const outside = [](float key) { return key < -rounding || key > 1 + rounding; };
    if (auto const first = std::ranges::find_if(keys, outside); first != keys.end()) {
        auto const count = std::ranges::count_if(keys, outside);
        auto const [least, largest] = std::ranges::minmax(keys);
        findings.add(
            "key-range", values.node, values.keyField,
            [&] {
                return ".key[" + std::to_string(first - keys.begin()) + "] is " + shortNumber(*first)
                    + (count > 1
                           ? ", and " + std::to_string(count - 1) + (count == 2 ? " more is" : " more are") + " outside 0 to 1"
                           : "")
                    + ": a fraction runs from 0 to 1";
            },
            least < 0 ? "begin with 0 and end with 1" : "divide the keys by the largest one",
            least >= -slightly && largest <= 1 + slightly ? Severity::note : Severity::warning);
    } else if (keys.size() > 1 && std::ranges::is_sorted(keys) && (keys.front() > rounding || keys.back() < 1 - rounding)) {
        findings.add(
            "key-span", values.node, values.keyField,
            [&] {
                std::string text = ".key runs from " + shortNumber(keys.front()) + " to " + shortNumber(keys.back()) + ": ";
                if (keys.front() > rounding)
                    text += "the first value holds before";
                if (keys.back() < 1 - rounding)
                    text += std::string(keys.front() > rounding ? ", " : "") + "the last value holds after";
                return text;
            },
            "fine when the hold is meant");
    }
}

} // namespace

void checkKeys(KeyedValues const& values, Drive const& drive, FindingCollector& findings)
{
    if (values.keyField->_routesIn == nullptr && values.valueField->_routesIn == nullptr)
        checkCounts(values, drive, findings);
    checkOrder(values, findings);
    if (!drive.clocked())
        return;
    checkSpan(values, findings);
    if (values.keys.size() == 1 && values.keyField->_routesIn == nullptr)
        findings.add(
            "one-key", values.node, values.keyField, [] { return " has one key: every fraction gives the same value"; },
            "add a key for each value that it shall pass");
}

} // namespace Zelvan::play
