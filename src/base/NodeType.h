#pragma once

#include "base/Export.h"
#include "base/NodePart.h"

#include <string>
#include <string_view>
#include <vector>

namespace Zelvan {

class Node;
class NodeNameSpace;
class NodeProc;
class NodeType;

enum SearchCaseType : unsigned { searchExact = 0, searchIgnoreCase = 1 };

/// Node types by name. Types register themselves when they are constructed, in any order.
class ZELVAN_BASE_API NodeTypeNameSpace {
public:
    /// The type registered under that name, else the one that has it as its alias; null when there is none.
    static NodeType* findType(NodeTypeNameSpace const* nameSpace, std::string const& name, SearchCaseType searchCase);

    /// In the order they were registered.
    std::vector<NodeType*> const& types() const { return _types; }

private:
    friend class NodeType;
    std::vector<NodeType*> _types;
};

/// The namespace of the node types that scenes may use.
ZELVAN_BASE_API NodeTypeNameSpace& theSceneNodeTypeFactory();

/// Run-time record of a node type. Parents are known by name, so a type may be registered before its parent. A second
/// type of one name is refused: it says so and is not registered.
/// A library whose records have nodes stays loaded until the last of them has gone, also when its host has closed it.
class ZELVAN_BASE_API NodeType {
public:
    using IsType = bool (*)(Node*);
    using CreateNode = Node* (*)(NodeType&, NodeNameSpace&, char const*);
    using CreateProc = NodeProc* (*)(NodeType&, Node&);

    /// Registers the type in `nameSpace` under `name`. `aliasName`, `createNode`, `createProc` and `parts` may
    /// be null. `text1`, `text2`, `flag1` and `flag2` are unused.
    NodeType(NodeTypeNameSpace& nameSpace, char const* name, char const* poolName, char const* parentName,
             char const* aliasName, char const* text1, char const* componentName, char const* text2, char const* status,
             char const* description, char const* standard, bool flag1, bool flag2, IsType isType, CreateNode createNode,
             CreateProc createProc, NodePartDesc* parts, unsigned partCount);
    NodeType(NodeType const&) = delete;
    NodeType& operator=(NodeType const&) = delete;
    ~NodeType();

    /// Whether a record could not be registered for lack of memory since this was asked last. Records are mostly built
    /// while a library is loaded, where nothing can be thrown.
    static bool takeFailure();
    /// Lets go of the libraries that were kept for nodes which have gone. Namespaces do so when they end.
    static void releaseLibraries();

    /// The type whose name is the parent name, looked up anew each time; null at the root.
    NodeType* parent() const;
    /// True for this type and every type below it.
    bool isDerivedFrom(NodeType const& ancestor) const;
    /// The description this type itself adds under that index; null when there is none.
    NodePartDesc const* findOwnPart(unsigned index) const;
    /// Number of fields of the whole class chain.
    unsigned partCount() const;
    /// Descriptions of the whole class chain, by index.
    std::vector<NodePartDesc const*> allParts() const;

    /// The type that is created for this one: itself, or for an abstract type the one that has this type's
    /// name as its alias; null when there is neither.
    NodeType* creatableType();
    /// A node of `creatableType()` with its processor attached and the default texts of its descriptions
    /// applied; null when the type is abstract. NodeNameSpace::add() keeps it.
    Node* createNodeWithProc(NodeNameSpace& nameSpace, char const* name);

    NodeTypeNameSpace& _nameSpace;
    std::string _name;
    std::string _poolName;
    std::string _parentName;
    std::string _aliasName;
    std::string _componentName;
    std::string _status;
    std::string _description;
    std::string _standard;
    IsType _isType;
    CreateNode _createNode;
    CreateProc _createProc;
    NodePartDesc* _parts = nullptr;
    unsigned _ownPartCount = 0;

private:
    friend class Node;
    void nodeMade();
    void nodeGone();
    unsigned _nodeCount = 0; ///< of all threads
};

} // namespace Zelvan
