#include "player/checking/CheckRules.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

namespace {

// Whether both lists are there; false ends the check of their lengths.
bool checkPresence(KeyedValues const& values, std::unordered_set<std::string> const& refusedFields,
                   FindingCollector& findings)
{
    SceneNode const& node = values.node;
    auto const missing = [&](Field const& field, std::size_t size) {
        return size == 0 && field._routesIn == nullptr
            && !refusedFields.contains(node.name + '.' + field.findName());
    };
    bool const noKeys = missing(*values.keyField, values.keys.size());
    bool const noValues = missing(*values.valueField, values.size);
    std::string const name = values.valueField->findName();
    if (noKeys)
        findings.add("no-keys", node, values.keyField,
                     [&] { return (noValues ? " has neither key nor " + name : std::string(" has no key"))
                                  + ": it never sends a value"; },
                     "write the lists, or route something to them");
    else if (noValues)
        findings.add("no-values", node, values.valueField,
                     [&] { return " has no " + name + ": it never sends a value"; },
                     "write one value for each key");
    return !values.keys.empty() && values.size != 0;
}

void checkCounts(KeyedValues const& values, FindingCollector& findings)
{
    SceneNode const& node = values.node;
    std::size_t const keys = values.keys.size(), size = values.size;
    std::string const have = ' ' + std::string("has ") + countOf(size, values.eases() ? "pair" : "value") + " for "
        + countOf(keys, "key");
    if (size < keys) {
        bool const perInterval = values.eases() && size + 1 == keys;
        findings.add("too-few-values", node, values.valueField,
                     [&] {
                         return have + ": from key[" + std::to_string(size) + "] on the keys do not count"
                             + (perInterval ? "; easeInEaseOut needs a pair for each key, not for each interval"
                                            : "");
                     },
                     perInterval ? "add a last pair: its first number is the ease into the last key"
                                 : "write as many values as keys");
    } else if (values.blocks && size % keys != 0) {
        std::size_t const whole = size / keys * keys;
        findings.add("uneven-blocks", node, values.valueField,
                     [&] {
                         return have + ": " + std::to_string(size / keys) + " for each key, and "
                             + std::to_string(size - whole) + " left over";
                     },
                     "every key needs the same number of values: " + std::to_string(whole) + " or "
                         + std::to_string(whole + keys) + " in all");
    } else if (!values.blocks && size > keys) {
        bool const set = size % keys == 0 && node.typeName.starts_with("Position");
        findings.add("too-many-values", node, values.valueField,
                     [&] { return have + ": the last " + std::to_string(size - keys) + " do not count"; },
                     set ? "a CoordinateInterpolator takes several values for each key"
                         : "write as many values as keys");
    }
}

void checkOrder(KeyedValues const& values, FindingCollector& findings)
{
    auto const keyName = [](std::size_t i) { return ".key[" + std::to_string(i) + ']'; };
    for (std::size_t i = 0; i < values.count; ++i) {
        float const key = values.keys[i];
        if (!std::isfinite(key))
            findings.add("not-finite", values.node, values.keyField,
                         [&] { return keyName(i) + " is " + shortNumber(key); }, "write a number");
        if (i == 0)
            continue;
        float const before = values.keys[i - 1];
        if (key < before)
            findings.add("key-order", values.node, values.keyField,
                         [&] {
                             return keyName(i) + " is " + shortNumber(key) + ", after " + shortNumber(before)
                                 + ": some fractions between them give no value or a wrong one";
                         },
                         "sort the keys, and their values with them");
        if (key == before)
            findings.add("key-equal", values.node, values.keyField,
                         [&] {
                             bool const same = std::ranges::equal(values.at(i - 1), values.at(i));
                             return keyName(i) + " repeats " + shortNumber(key)
                                 + (same ? ", and its value" : ": the value jumps there");
                         },
                         "one of them may go when no jump is meant");
    }
}

// Where the keys begin and end, for a fraction that runs from 0 to 1.
void checkSpan(KeyedValues const& values, FindingCollector& findings)
{
    auto const& keys = values.keys;
    auto const outside = [](float key) { return key < 0 || key > 1; };
    if (auto const first = std::ranges::find_if(keys, outside); first != keys.end()) {
        auto const count = std::ranges::count_if(keys, outside);
        findings.add("key-range", values.node, values.keyField,
                     [&] {
                         return ".key[" + std::to_string(first - keys.begin()) + "] is " + shortNumber(*first)
                             + (count > 1 ? ", and " + std::to_string(count - 1) + " more are outside 0 to 1" : "")
                             + ": a fraction runs from 0 to 1";
                     },
                     "divide the keys by the largest one");
    } else if (keys.size() > 1 && std::ranges::is_sorted(keys) && (keys.front() > 0 || keys.back() < 1)) {
        findings.add("key-span", values.node, values.keyField,
                     [&] {
                         std::string text = ".key runs from " + shortNumber(keys.front()) + " to "
                             + shortNumber(keys.back()) + ": ";
                         if (keys.front() > 0)
                             text += "the first value holds before";
                         if (keys.back() < 1)
                             text += std::string(keys.front() > 0 ? ", " : "") + "the last value holds after";
                         return text;
                     },
                     "fine when the hold is meant");
    }
}

} // namespace

void checkKeys(KeyedValues const& values, Drive const& drive, std::unordered_set<std::string> const& refusedFields,
               FindingCollector& findings)
{
    if (!checkPresence(values, refusedFields, findings))
        return;
    if (values.keyField->_routesIn == nullptr && values.valueField->_routesIn == nullptr)
        checkCounts(values, findings);
    checkOrder(values, findings);
    if (drive.clocked)
        checkSpan(values, findings);
    if (values.keys.size() == 1 && values.keyField->_routesIn == nullptr)
        findings.add("one-key", values.node, values.keyField,
                     [] { return " has one key: every fraction gives the same value"; },
                     "add a key for each value that it shall pass");
}

} // namespace Zelvan::play
