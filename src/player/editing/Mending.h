#pragma once

#include "player/editing/KeyTrack.h"
#include "player/editing/NumberList.h"

#include <memory>
#include <set>

namespace Zelvan::play {

/// Keys and values of an interpolator while they are mended, with where each number came from.
class Mending {
public:
    Mending(SceneNode const& node, NumberList const& keys, NumberList const& values);

    /// The fix of a code, at these keys. False when it does not apply.
    bool apply(std::string const& code, std::set<std::size_t> const& keys, bool unsafe);
    /// Gives the node the keys and values as they are now.
    void give(SceneNode const& node) const;
    /// Gives it those it had.
    void restore(SceneNode const& node) const;

    bool changed() const { return _changed; }
    std::vector<NumberList::Number> const& keys() const { return _keys; }
    std::vector<NumberList::Number> const& values() const { return _values; }
    unsigned components() const { return _components; }
    /// The fields as they were read.
    Field const& oldKeys() const { return *_oldKeys; }
    Field const& oldValues() const { return *_oldValues; }

private:
    using Numbers = std::vector<NumberList::Number>;
    std::size_t width() const; ///< numbers of a key
    float number(std::size_t key, std::size_t c) const { return _values[key * _components + c].value; }
    void insert(std::size_t at, float key, std::vector<float> const& value);

    bool dropValues();
    bool addPair();
    bool writeAxes(std::set<std::size_t> const& keys, bool unsafe);
    bool sortKeys();
    bool divideKeys();
    bool divideColors();
    bool divideTurns(std::set<std::size_t> const& keys);
    bool crossRed(std::set<std::size_t> const& keys);
    bool closeLoop();

    std::shared_ptr<Field> _oldKeys, _oldValues;
    Numbers _keys, _values;
    unsigned _components;
    bool _blocks, _eases;
    bool _changed = false;
};

/// Whether two tracks play the same, bit for bit: at their keys, before, behind and densely in between.
bool samePlayed(KeyTrack const& a, KeyTrack const& b);

} // namespace Zelvan::play
