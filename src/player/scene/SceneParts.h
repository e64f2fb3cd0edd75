#pragma once

#include "player/scene/Scene.h"

#include <cstdint>
#include <forward_list>
#include <map>
#include <memory>

namespace Zelvan::play {

/// "translation" for all three names of an input and output.
std::string_view baseName(std::string_view name);

/// Stands for a node of a type without a class: takes any event and sends it on.
/// A field comes into being with the first route that touches it.
class UnknownNode : public Node {
public:
    explicit UnknownNode(Scene& scene);
    ~UnknownNode() override;

    void shutdown() const override;
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field* from) override;
    /// Whether the file declares fields, and none that a ROUTE may call so.
    bool lacks(std::string_view name, FieldSearchOrder order) const
    {
        return !_parts.empty() && _parts.front().declared && part(name, order) == nullptr;
    }
    /// What a route may mean by the name: the field of exactly that name, else one that can be used that way and is called
    /// so otherwise. Null when there is none, or when its data type has no field class.
    Field* find(std::string_view name, FieldSearchOrder order) const;
    /// The field, of that data type if it is not known to have another; null as with `find`.
    Field* require(std::string_view name, FieldSearchOrder order, NodePartDataType type);
    /// A field as the file declares it, by that name alone; null when it was declared before, or has no field class.
    Field* declare(std::string_view name, NodePartType access, NodePartDataType type);

    std::vector<Field*> inputs() const;
    /// Whether the file declares one of these fields; else its data type is the first ROUTE's.
    static bool isDeclared(Field const& field) { return static_cast<Part const*>(field._desc)->declared; }

private:
    /// A field and its description, by which the field finds its way back here.
    struct Part : NodePartDesc {
        Part(char const* name, NodePartType access, NodePartDataType dataType, bool declared, Node& node);
        ~Part() override;
        bool serves(FieldSearchOrder order) const { return (_type & (order == asInput ? inputOnly : outputOnly)) != 0; }
        std::unique_ptr<Field> field; ///< null for a declared data type without a class: nothing can be sent there
        bool declared;
        bool changing = false;
    };
    struct Names {
        std::map<std::string_view, Part*> exact, inputs, outputs; ///< the latter by their base names
        void enter(Part& part);
    };
    Part* part(std::string_view name, FieldSearchOrder order) const;
    Part& add(std::string_view name, NodePartType access, NodePartDataType type, bool declared);

    Scene& _scene;
    std::forward_list<Part> _parts; ///< in the order they came into being
    std::forward_list<Part>::iterator _last = _parts.before_begin();
    unsigned _count = 0;
    std::unique_ptr<Names> _byName; ///< of all parts, once there are more than a few
};

/// Where the lines of a file begin, and the numbers of its lists.
struct Scene::Lines {
    Layout layout;
    std::shared_ptr<char const> text{};
    std::size_t size = 0;

    void locate(std::uint32_t offset, unsigned& line, unsigned& column) const;
    /// Of a number of the list at `begin`; the list's when it has no such number. Going on from the last one is fast.
    std::uint32_t number(std::uint32_t begin, std::size_t index);

private:
    std::uint32_t _begin = UINT32_MAX, _at = 0;
    std::size_t _index = 0;
};

} // namespace Zelvan::play
