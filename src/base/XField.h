#pragma once

#include "base/Field.h"

#include <cassert>
#include <string>
#include <vector>

namespace Zelvan {

/// A field that holds one value of type T. `fieldDep` is false in every instantiation there is.
template <class T, bool fieldDep>
class ZELVAN_BASE_API XField : public Field {
public:
    using ValueType = T;
    explicit XField(Node* node = nullptr) : Field(node) {}

    void assignValue(Field const& other) override
    {
        assert(dynamic_cast<XField const*>(&other) != nullptr);
        if (&other != this)
            _value = static_cast<XField const&>(other)._value;
    }

    /// Equal by the rule of the value type: floats and strings exactly, OpenSG's types and rotations within
    /// 1e-6 per component, lists element by element. Fields of different value types are never equal.
    bool equalValue(Field const& other) const override
    {
        auto const* const same = dynamic_cast<XField const*>(&other);
        if (same == nullptr) {
            if (logs(osg::LOG_FATAL))
                writeLog(osg::LOG_FATAL, "base/XField", 271, __PRETTY_FUNCTION__, "Type mismatch in XField::opperator==\n");
            return false;
        }
        return _value == same->_value;
    }

    /// Lists: replaces the whole list by `values`, or appends them. Single fields: nothing.
    virtual void addValueFieldDep(T const& values, bool replace) = 0;

    T _value{};
};

/// A single value: the list operations have nothing to do.
template <class T, bool fieldDep>
class ZELVAN_BASE_API SField : public XField<T, fieldDep> {
public:
    using XField<T, fieldDep>::XField;

    std::string get1ValueAsBin(int) const override { return this->getValueAsBin(-1); }
    int addValueByStr(char const* text, Field::Cardinality cardinality) override
    {
        this->setValueByStr(text, cardinality);
        return 0;
    }
    bool set1ValueByBin(int, std::string const& bin) override { return this->setValueByBin(bin); }
    Field::Cardinality cardinality() const override { return Field::single; }
    unsigned size() const override { return 1; }
    bool empty() const override { return false; }
    void resize(unsigned) override {}
    void reserve(unsigned) override {}
    void clear() override {}
    void free() override {}
    void addValueFieldDep(T const&, bool) override {}
};

template <class List, bool fieldDep>
class ZELVAN_BASE_API MField : public XField<List, fieldDep> {
public:
    using XField<List, fieldDep>::XField;

    Field::Cardinality cardinality() const override { return Field::multiple; }
    unsigned size() const override { return static_cast<unsigned>(this->_value.size()); }
    bool empty() const override { return this->_value.empty(); }
    /// Keeps the allocated block.
    void clear() override { this->_value.clear(); }
    /// Releases the block.
    void free() override { List().swap(this->_value); }
};

/// A list of E.
template <class E, bool fieldDep>
class ZELVAN_BASE_API MVField : public MField<std::vector<E>, fieldDep> {
public:
    using ElementType = E;
    using MField<std::vector<E>, fieldDep>::MField;

    /// New elements are zero, or the identity for rotations and matrices. Keeps the block when it shrinks.
    void resize(unsigned size) override { this->_value.resize(size); }
    void reserve(unsigned size) override { this->_value.reserve(size); }
    void addValueFieldDep(std::vector<E> const& values, bool replace) override
    {
        // By index, not by iterator: `values` may be this very list.
        unsigned const count = static_cast<unsigned>(values.size());
        unsigned const first = replace ? 0 : this->size();
        if (first + count != this->size())
            resize(first + count);
        for (unsigned i = 0; i < count; ++i)
            this->_value[first + i] = values[i];
    }
};

} // namespace Zelvan
