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
    /// By any of the names a route may use for it; one of exactly that name comes first.
    Field* find(std::string_view name) const;
    /// Null for a data type without a field class.
    Field* require(std::string_view name, NodePartDataType type);
    /// A field of that name alone: a Script may have a set_x and an x_changed of other types.
    void declare(std::string_view name, NodePartDataType type);

    std::vector<Field*> inputs() const;

private:
    /// A field and its description, by which the field finds its way back here.
    struct Part : NodePartDesc {
        Part(char const* name, NodePartDataType dataType, Node& node);
        ~Part() override;
        std::unique_ptr<Field> field;
        bool changing = false;
    };
    using Names = std::map<std::string_view, Field*>;
    Field* add(std::string_view name, NodePartDataType type);
    static void enter(Names& names, Part const& part);

    Scene& _scene;
    std::forward_list<Part> _parts; ///< in the order they came into being
    std::forward_list<Part>::iterator _last = _parts.before_begin();
    unsigned _count = 0;
    std::unique_ptr<Names> _byName; ///< of all parts, also by what routes may call them, once there are more than a few
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
