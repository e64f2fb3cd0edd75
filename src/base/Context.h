#pragma once

#include "base/Export.h"

#include <string>
#include <vector>

namespace Zelvan {

/// Settings that node processors read. Parameters are declared once per process; every context has its own
/// values. A boolean that nobody has set is false. Outlives the namespaces that were made for it.
class ZELVAN_BASE_API Context {
public:
    struct Param {
        std::string _name;
        std::string _description;
        std::string _group;
    };

    /// Declares a parameter and returns its id; a name declared before keeps its id. `flag` is unused.
    static unsigned createParamID(std::string const& name, std::string const& description, std::string const& group, bool flag);
    /// All declared parameters, by id.
    static std::vector<Param> const& params();
    /// Id of a declared parameter; `unknownParam` when there is none.
    static constexpr unsigned unknownParam = ~0u;
    static unsigned findParamID(std::string const& name);

    bool bValue(unsigned id) const { return id < _bValues.size() && _bValues[id] != 0; }
    void setBValue(unsigned id, bool value);

    Context() = default;
    Context(Context const& other) : _bValues(other._bValues) {}
    Context& operator=(Context const&) = delete;
    ~Context();

private:
    friend class NodeNameSpace;
    void nameSpaceMade() { ++_nameSpaces; }
    void nameSpaceGone() { --_nameSpaces; }

    std::vector<char> _bValues;
    unsigned _nameSpaces = 0;
};

} // namespace Zelvan
