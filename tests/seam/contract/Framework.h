#pragma once

// A second framework: what node pools may use, and nothing else, in other bones than the bundled one. Its members stand
// in another order and are of other types, it has no memory of its own, no observers, and routes that are entries of a
// table. What is private is for the host alone.

#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGLog.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGQuaternion.h>
#include <OpenSG/OSGVector.h>

#include <bitset>
#include <map>
#include <string>
#include <vector>

namespace Zelvan {

class Field;
class Host;
class Node;
class NodeNameSpace;
class NodeProc;
class NodeType;
class SFString;
struct NodeLink;
struct Route;

using TimeStamp = double;
extern char const* LogModuleName;

enum NodePartType : unsigned {};
enum NodePartDataType : unsigned {};
enum SearchCaseType : unsigned {};

template <class Word>
class BitVector {
public:
    BitVector(Word bits = 0) : _set(bits) {}
    ~BitVector() {}
    BitVector(BitVector const&) = default;
    BitVector& operator=(BitVector const&) = default;
    BitVector& operator|=(BitVector const& other) { return _set |= other._set, *this; }
    BitVector& operator&=(BitVector const& other) { return _set &= other._set, *this; }
    BitVector operator&(BitVector const& other) const { return BitVector(*this) &= other; }
    BitVector operator~() const { return ~_set.to_ulong(); }
    bool operator==(BitVector const& other) const { return _set == other._set; }

private:
    std::bitset<sizeof(Word) * 8> _set;
};

struct NodePart {
    static BitVector<unsigned long> const _nullMask;
};

class NodePartDesc {
public:
    NodePartDesc(unsigned index, BitVector<unsigned long> mask, NodePartType type, NodePartDataType dataType, unsigned flags,
                 char const* name, char const*, char const* defaultValue, char const*, char const*, unsigned);
    virtual ~NodePartDesc();

private:
    friend class Host;
    std::string _default;
    NodePartDataType _dataType;

public:
    char const* _name;
    unsigned long _flags;
    NodePartType _type;
    BitVector<unsigned long> _mask;
    unsigned _index;
};

class NodeTypeNameSpace {
public:
    static NodeType* findType(NodeTypeNameSpace const* nameSpace, std::string const& name, SearchCaseType);

private:
    friend class Host;
    friend class NodeType;
    std::map<std::string, NodeType*> _types;
};
NodeTypeNameSpace& theSceneNodeTypeFactory();

class NodeType {
public:
    NodeType(NodeTypeNameSpace& nameSpace, char const* name, char const* pool, char const* parent, char const* alias,
             char const*, char const* component, char const*, char const* status, char const* description, char const* standard,
             bool, bool, bool (*isType)(Node*), Node* (*createNode)(NodeType&, NodeNameSpace&, char const*),
             NodeProc* (*createProc)(NodeType&, Node&), NodePartDesc* parts, unsigned partCount);
    ~NodeType();

private:
    friend class Host;
    friend class Node;
    std::vector<NodePartDesc*> _parts;
    Node* (*_createNode)(NodeType&, NodeNameSpace&, char const*);
    NodeProc* (*_createProc)(NodeType&, Node&);

public:
    NodeTypeNameSpace& _nameSpace;
    std::string _name;
};

class Context {
public:
    static unsigned createParamID(std::string const& name, std::string const&, std::string const&, bool);

private:
    friend class Host;
    friend class NodeProc;
    std::map<unsigned, bool> _values;
};

struct BaseObject {
    static unsigned _objCount;
};

class Node {
public:
    enum FieldSearchOrder : unsigned {};

    Node(NodeType& type, NodeNameSpace& nameSpace, char const* name);
    virtual ~Node();
    virtual void shutdown() const;
    virtual void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) = 0;
    void regField(Field& field, NodeType& type, unsigned index, bool);
    void unregField(unsigned index);
    std::string getIDStr() const;
    void markParent(int level);

private:
    friend class Field;
    friend class Host;
    friend class NodeProc;
    NodeNameSpace& _nameSpace;
    unsigned _state = 0, _marks = 0;
    unsigned char _trace = 0;
    std::map<unsigned, Field*> _fields;
    BitVector<unsigned long> _changedMask;

public:
    BitVector<unsigned long> _isChangingMask;
    NodeProc* _proc = nullptr;
    std::string _name;
    NodeType& _type;
};

class NodeProc {
public:
    struct StringDic {
        std::string _name;
        int _value;
    };

    NodeProc(NodeType& type, Node& node);
    NodeProc(NodeProc& other) = default;
    virtual ~NodeProc();
    virtual void shutdown() const {}
    virtual void setup(TimeStamp const&) {}
    virtual void initialize(TimeStamp const&) {}
    virtual void attach(TimeStamp const&) {}
    virtual void detach(TimeStamp const&) {}
    virtual void shutdown(TimeStamp const&) {}
    virtual void dispose(TimeStamp const&) {}
    virtual void childChanged(TimeStamp const&) {}
    virtual void nodeChanged(TimeStamp const&, BitVector<unsigned long> const&) {}
    virtual void childAdded(NodeLink&) {}
    virtual void childRemoved(NodeLink&) {}
    virtual void parentAdded(NodeLink&) {}
    virtual void parentRemoved(NodeLink&) {}
    virtual void fieldAdded(Field&) {}
    virtual void fieldRemoved(Field&) {}
    virtual void routeAdded(Route&) {}
    virtual void routeRemoved(Route&) {}
    virtual bool addNodePart(NodePartType, NodePartDataType, char const*, char const*, char const*, char const*, bool, bool,
                             bool, char const*)
    {
        return false;
    }
    virtual bool addNodePart(NodePartDesc const&, BitVector<unsigned int>*) { return false; }
    virtual bool removeNodePart(unsigned int) { return false; }
    virtual Field* findField(std::string const&, Node::FieldSearchOrder) { return nullptr; }
    virtual bool mergeNode(Node&, NodeType*) { return false; }
    virtual NodeNameSpace* nameSpace() { return nullptr; }
    virtual NodeNameSpace* childNameSpace() { return nullptr; }
    virtual void setChildNameSpace(NodeNameSpace*) {}
    virtual void getInfoStr(std::string&) {}

    bool contextBValue(unsigned id) const;
    static int findDic(StringDic const* dictionary, SFString const& field);

    Node& _node;
};

class SceneBaseNodeProc : public NodeProc {
public:
    using NodeProc::NodeProc;
    void nodeChanged(TimeStamp const& timeStamp, BitVector<unsigned long> const& changed) override;
};

class Field : public BaseObject {
public:
    enum Cardinality : unsigned {};
    enum CallerType : unsigned {};

    Field() { ++_objCount; }
    Field(Field const&) = delete;
    virtual ~Field();
    virtual char const* findName() const;
    virtual void frameworks3() {}
    virtual void frameworks4() {}
    virtual NodePartType type() const { return _desc ? _desc->_type : static_cast<NodePartType>(1); }
    virtual std::string const& typeName() const { return _typeName; }
    virtual bool setValueByStr(char const*, Cardinality) = 0;
    virtual bool setAndValidateValueByStr(char const* text, bool);
    virtual void frameworks9() {}
    virtual void frameworks10() {}
    virtual bool setValueByBin(std::string const& bin) = 0;
    virtual void frameworks12() {}
    virtual void frameworks13() {}
    virtual void frameworks14() {}
    virtual std::string getValueAsBin(int index) const = 0;
    virtual std::string get1ValueAsBin(int index) const = 0;
    virtual int addValueByStr(char const* text, Cardinality cardinality) = 0;
    virtual bool set1ValueByBin(int index, std::string const& bin) = 0;
    virtual Cardinality cardinality() const = 0;
    virtual unsigned size() const = 0;
    virtual bool empty() const = 0;
    virtual void resize(unsigned size) = 0;
    virtual void reserve(unsigned size) = 0;
    virtual void clear() = 0;
    virtual void free() = 0;
    virtual bool equalValue(Field const& other) const = 0;

    void send(TimeStamp const& timeStamp, bool alongRoutes, bool recordOnly);
    bool receive(TimeStamp const&) { return true; }
    void markChanged();
    void processValueChange(TimeStamp const& timeStamp, CallerType callerType);

    static std::string const _typeName;
    NodePartDesc* _desc = nullptr;
    Node* _node = nullptr;
};

template <class T, bool fieldDep>
class XField : public Field {
public:
    bool equalValue(Field const& other) const override
    {
        auto const* const same = dynamic_cast<XField const*>(&other);
        return same != nullptr && _value == same->_value;
    }
    virtual void addValueFieldDep(T const& values, bool replace) = 0;

    T _value{};
};

class Rotation {
public:
    osg::Quaternion const& quaternion() const;
    bool operator==(Rotation const& other) const { return quaternion() == other.quaternion(); }

    mutable unsigned _state = 0;
    mutable float _angle = 0;
    mutable osg::Vec3f _axis{0, 0, 1};
    mutable osg::Quaternion _quaternion;
};

/// A value as its words.
template <class T>
struct Words {
    static constexpr std::size_t size = sizeof(T);
    static void read(T& value, char const* words) { std::copy_n(words, size, reinterpret_cast<char*>(&value)); }
    static void write(T const& value, std::string& words) { words.append(reinterpret_cast<char const*>(&value), size); }
};
template <>
struct Words<std::string> {
    static constexpr std::size_t size = 0;
    static void read(std::string&, char const*) {}
    static void write(std::string const&, std::string&) {}
};
template <>
struct Words<Rotation> {
    static constexpr std::size_t size = 9 * 4;
    static void read(Rotation& value, char const* words);
    static void write(Rotation const& value, std::string& words);
};

template <class T, bool fieldDep>
class SField : public XField<T, fieldDep> {
public:
    bool setValueByStr(char const*, Field::Cardinality) override { return false; }
    bool setValueByBin(std::string const& bin) override
    {
        bool const fits = bin.size() == Words<T>::size;
        fits ? Words<T>::read(this->_value, bin.data()) : void();
        return fits;
    }
    std::string getValueAsBin(int) const override
    {
        std::string bin;
        return Words<T>::write(this->_value, bin), bin;
    }
    std::string get1ValueAsBin(int) const override { return getValueAsBin(-1); }
    int addValueByStr(char const* text, Field::Cardinality c) override { return this->setValueByStr(text, c), 0; }
    bool set1ValueByBin(int, std::string const& bin) override { return setValueByBin(bin); }
    Field::Cardinality cardinality() const override { return {}; }
    unsigned size() const override { return 1; }
    bool empty() const override { return false; }
    void resize(unsigned) override {}
    void reserve(unsigned) override {}
    void clear() override {}
    void free() override {}
    void addValueFieldDep(T const&, bool) override {}
};

template <class E, bool fieldDep>
class MVField : public XField<std::vector<E>, fieldDep> {
public:
    bool setValueByStr(char const*, Field::Cardinality) override { return false; }
    bool setValueByBin(std::string const& bin) override
    {
        resize(static_cast<unsigned>(bin.size() / Words<E>::size));
        for (std::size_t i = 0; i < this->_value.size(); ++i)
            Words<E>::read(this->_value[i], bin.data() + i * Words<E>::size);
        return true;
    }
    std::string getValueAsBin(int) const override
    {
        std::string bin;
        for (E const& value : this->_value)
            Words<E>::write(value, bin);
        return bin;
    }
    std::string get1ValueAsBin(int) const override { return {}; }
    int addValueByStr(char const*, Field::Cardinality) override { return 0; }
    bool set1ValueByBin(int, std::string const&) override { return false; }
    Field::Cardinality cardinality() const override { return static_cast<Field::Cardinality>(1); }
    unsigned size() const override { return static_cast<unsigned>(this->_value.size()); }
    bool empty() const override { return this->_value.empty(); }
    void resize(unsigned size) override { this->_value.resize(size); }
    void reserve(unsigned size) override { this->_value.reserve(size); }
    void clear() override { this->_value.clear(); }
    void free() override { std::vector<E>().swap(this->_value); }
    void addValueFieldDep(std::vector<E> const&, bool) override {}
};

/// A class of its own for each: the owner stands beside the value.
template <class Base>
class Owned : public Base {
public:
    explicit Owned(Node& node) { this->_node = &node; }
};
struct SFBool : Owned<SField<bool, false>> {
    using Owned::Owned;
};
struct SFColor : Owned<SField<osg::Color3<float>, false>> {
    using Owned::Owned;
};
struct MFColor : Owned<MVField<osg::Color3<float>, false>> {
    using Owned::Owned;
};
struct SFFloat : Owned<SField<float, false>> {
    using Owned::Owned;
};
struct MFFloat : Owned<MVField<float, false>> {
    using Owned::Owned;
};
struct SFMatrix4f : Owned<SField<osg::Matrix, false>> {
    using Owned::Owned;
};
struct MFMatrix4f : Owned<MVField<osg::Matrix, false>> {
    using Owned::Owned;
};
struct SFRotation : Owned<SField<Rotation, false>> {
    using Owned::Owned;
};
struct MFRotation : Owned<MVField<Rotation, false>> {
    using Owned::Owned;
};
struct SFVec2f : Owned<SField<osg::Vector<float, 2u>, false>> {
    using Owned::Owned;
};
struct MFVec2f : Owned<MVField<osg::Vector<float, 2u>, false>> {
    using Owned::Owned;
};
struct SFVec3f : Owned<SField<osg::Vector<float, 3u>, false>> {
    using Owned::Owned;
};
struct MFVec3f : Owned<MVField<osg::Vector<float, 3u>, false>> {
    using Owned::Owned;
};
class SFString : public Owned<SField<std::string, false>> {
public:
    using Owned::Owned;
    bool setValueByStr(char const* text, Cardinality) override { return _value = text, true; }
    bool setValueByBin(std::string const& bin) override { return _value = bin, true; }
    std::string getValueAsBin(int) const override { return _value; }
};

class TransCoder : public Node {
public:
    using Node::Node;
    bool enabled() const { return _on == 1; }

private:
    friend class Host;
    int _on = 1;
};

class TransCoderProc : public SceneBaseNodeProc {
public:
    using SceneBaseNodeProc::SceneBaseNodeProc;
    void fieldChanged(TransCoder&, Field&, TimeStamp const&, Field*) {}
};

} // namespace Zelvan
