#pragma once

#include "interpolationNodePool/Framework.h"

namespace Zelvan {

/// Where a log message comes from. `file` may be a path with extension; it is logged as directory and
/// name without extension ("interpolationNodePool/Interpolator"). `function` is the full signature.
struct LogPlace {
    char const* file;
    unsigned line;
    char const* function;
};

/// The place of the statement it stands in. A macro, because only that captures the caller's own place
/// in every compiler we build with.
#define ZELVAN_HERE (::Zelvan::LogPlace{__FILE__, __LINE__, __PRETTY_FUNCTION__})

/// The pool's way to OpenSG's log.
struct PoolLog {
    /// True when messages of this level are written. Ask before any text is put together.
    static bool takes(osg::LogLevel level)
    {
        if (osg::osgLogP == nullptr)
            osg::doInitLog();
        return osg::osgLogP->checkLevel(level);
    }
    /// Writes one entry whatever the log's level; ask `takes` first. Arguments as for printf.
    static void write(osg::LogLevel level, LogPlace const& place, char const* format, ...)
        __attribute__((format(printf, 3, 4)));
};

/// The name of the node's type.
inline std::string const& typeNameOf(Node const& node)
{
    return node._type._name;
}
/// The node's name; the framework's number for it when it has none.
std::string nameOf(Node const& node);

} // namespace Zelvan
