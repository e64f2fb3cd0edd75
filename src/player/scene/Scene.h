#pragma once

#include "base/Context.h"
#include "base/Field.h"
#include "base/NodeNameSpace.h"
#include "base/Route.h"
#include "player/scene/Diagnostics.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play {

class UnknownNode;

/// A place kept small: the file's number in the scene and the byte offset in it.
struct Location {
    std::uint32_t file = 0;
    std::uint32_t offset = 0;
};

/// A node of the scene. Types without a node class (a Transform, a Script, ...) have a stand-in that takes any
/// event, made when the first route touches it.
struct SceneNode {
    std::string name;            ///< DEF name, with those of the PROTO instances around it ("Door/Swing"); else "Type#3"
    std::string const& typeName; ///< as the file has it; the scene keeps it
    Location where{};
    Node* node = nullptr;  ///< null for a node without a class that no route touches
    bool known = false;    ///< has a node class
    bool named = false;    ///< has a DEF name
    bool exported = false; ///< EXPORT offers it to those who inline the file
    bool decides = false;  ///< sends what it decides itself: a Script, an instance of a PROTO that could not be read
    /// A node that is not run and has this one in a field of its own: a Script, which may fill and drive it.
    SceneNode const* holder = nullptr;

    struct AttributePlace {
        unsigned index;         ///< of the field; ~0u of none: a spline's keyVelocity, what IS gives to a node without a class
        Location where;         ///< of the value's first character
        bool converted = false; ///< from other units, which the file states
    };
    std::vector<AttributePlace> attributes{}; ///< of known nodes: the fields that the file sets; of others: what IS gives them
};

/// A route as it stands in the file, between two nodes of the scene (a PROTO instance is resolved to its nodes).
struct SceneRoute {
    SceneNode* from;
    std::string const& fromField; ///< the scene keeps it, as the other name
    SceneNode* to;
    std::string const& toField;
    Location where;
    /// Null when it could not be connected, or when neither end has a node class: nothing will pass.
    Route* route = nullptr;
    bool fits = true; ///< its nodes have such fields, as far as is known

    /// Whether it could not be connected, which was reported.
    bool refused() const { return !fits || (route == nullptr && (from->known || to->known)); }
};

/// What was read from a file and everything it includes: nodes, routes, and where they stand.
class Scene {
public:
    Scene();
    ~Scene();
    Scene(Scene const&) = delete;
    Scene& operator=(Scene const&) = delete;

    Context& context() { return _context; }
    NodeNameSpace& nodes() { return *_nameSpace; }

    /// Where the lines and the characters of a text are.
    struct Layout {
        std::vector<std::uint32_t> starts; ///< offset of each line's first byte; the first is 0
        // Which bytes begin no character, a bit for each, and how many there are before each 64; empty where all do.
        std::vector<std::uint64_t> inner{};
        std::vector<std::uint32_t> innerBefore{};
    };
    /// One more file. Returns its number for Locations.
    std::uint32_t addFile(std::string name, Layout layout);
    /// The file's text, for the places inside lists. What follows a list in it ends the list.
    void keepText(std::uint32_t file, std::shared_ptr<char const> text, std::size_t size);
    Place place(Location where) const;
    Place place(SceneNode const& node) const { return place(node.where); }
    /// Of the attribute that sets `field`; of the node when the file does not set it.
    Place place(SceneNode const& node, Field const& field) const;
    /// Of the first number of an element of a list.
    Place place(SceneNode const& node, Field const& field, std::size_t element) const;

    /// One copy of a text that nodes and routes share: few types and fields have names of their own.
    std::string const& shared(std::string_view text);

    /// Whether the file gives a node's field a value.
    bool isSet(SceneNode const& node, Field const& field) const { return attributeOf(node, field) != nullptr; }

    /// Null when there is none. The last node of that name wins, as in the file.
    SceneNode* find(std::string_view name);
    /// The scene's node that stands for a framework node; null for nodes of other owners.
    SceneNode* sceneNode(Node const& node) const;

    /// A field of a node by the name a route uses: "translation", "set_translation", "translation_changed".
    /// Fields of nodes without a class come into being with the data type asked for. Null when there is none;
    /// a field that exists but cannot be used that way is returned all the same.
    Field* field(SceneNode& node, std::string const& name, Node::FieldSearchOrder order);
    Field* fieldOfUnknown(SceneNode& node, std::string const& name, Node::FieldSearchOrder order, NodePartDataType type);
    /// A field that the file declares for a node without a class; null when it was declared before, or when its data type
    /// (0) has no field class: then nothing can be sent there.
    Field* declareField(SceneNode& node, std::string const& name, NodePartType access, NodePartDataType type);
    /// Whether the fields of a node without a class are declared, and none that a ROUTE may call so is among them.
    static bool lacksField(SceneNode const& node, std::string_view name, Node::FieldSearchOrder order);
    /// Whether a field has its data type from nothing but the first ROUTE that touched it.
    static bool isInferred(SceneNode const& node, Field const& field);
    /// The fields of a node without a class that routes lead to.
    static std::vector<Field*> inputsOf(SceneNode const& node);

    /// Makes all nodes deliver events at once.
    void goLive();

    std::deque<SceneNode> sceneNodes; ///< in the order of the file; addresses are stable
    std::deque<SceneRoute> routes;
    std::vector<std::string> fileNames;
    /// A comment that is meant for this program: "zelvan: ...".
    struct Remark {
        Location where;
        std::string text;
    };
    std::vector<Remark> remarks; ///< by file, each in its order

private:
    struct Lines;
    UnknownNode& standIn(SceneNode& node);
    Location const* attributeOf(SceneNode const& node, Field const& field) const;

    Context _context;
    std::set<std::string, std::less<>> _shared; ///< goes after the nodes
    std::unique_ptr<NodeNameSpace> _nameSpace;
    std::vector<std::unique_ptr<Lines>> _lines; ///< one for each of fileNames
    std::vector<SceneNode*> _byName;            ///< sorted, those of one name in the order of the file; built when asked
    std::vector<std::pair<Node const*, SceneNode*>> mutable _byNode; ///< sorted by address, built when asked
};

/// True for nodes of the interpolation pool.
bool isInterpolator(SceneNode const& node);
/// The field an interpolator sends its results from; null for other nodes.
Field* outputOf(SceneNode const& node);
/// An interpolator's field by name; null when it has none ("keyValue", "key", "easeInEaseOut").
Field* fieldOf(SceneNode const& node, char const* name);

/// A new field of a data type, of no node; null for a type no field class exists for.
std::unique_ptr<Field> makeField(NodePartDataType type);
/// The code for "SFVec3f"; 0 when there is no such field class.
NodePartDataType dataTypeCode(std::string_view name);
/// The access for "inputOnly"; inputOutput for any other text.
NodePartType accessCode(std::string_view name);

} // namespace Zelvan::play
