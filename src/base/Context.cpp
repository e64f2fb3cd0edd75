#include "base/Context.h"

#include <algorithm>
#include <cassert>

namespace Zelvan {

namespace {

// A function's own: node pools declare parameters while they are loaded.
std::vector<Context::Param>& declaredParams()
{
    static std::vector<Context::Param> params;
    return params;
}

} // namespace

unsigned Context::createParamID(std::string const& name, std::string const& description, std::string const& group, bool)
{
    unsigned id = findParamID(name);
    if (id == unknownParam) {
        id = static_cast<unsigned>(declaredParams().size());
        declaredParams().push_back({name, description, group});
    }
    return id;
}

std::vector<Context::Param> const& Context::params()
{
    return declaredParams();
}

unsigned Context::findParamID(std::string const& name)
{
    auto const& params = declaredParams();
    auto const found = std::find_if(params.begin(), params.end(), [&](Param const& p) { return p._name == name; });
    return found == params.end() ? unknownParam : static_cast<unsigned>(found - params.begin());
}

Context::~Context()
{
    assert(_nameSpaces == 0 && "a namespace outlives its context");
}

void Context::setBValue(unsigned id, bool value)
{
    if (id >= declaredParams().size())
        return;
    if (_bValues.size() <= id)
        _bValues.resize(id + 1, 0);
    _bValues[id] = value;
}

} // namespace Zelvan
