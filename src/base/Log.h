#pragma once

#include "base/Export.h"
#include "base/OpenSG.h"

namespace Zelvan {

/// Module name of every log line of the framework and its pools.
extern ZELVAN_BASE_API char const* LogModuleName;

/// Where a log message comes from. `file` may be a path with extension; it is logged as directory and
/// name without extension ("base/Field"). `function` is the full signature.
struct LogPlace {
    char const* file;
    unsigned line;
    char const* function;
};

/// The place of the statement it stands in. A macro, because only that captures the caller's own place
/// in every compiler we build with.
#define ZELVAN_HERE (::Zelvan::LogPlace{__FILE__, __LINE__, __PRETTY_FUNCTION__})

/// True when messages of this level are written. Ask before any text is put together.
inline bool logs(osg::LogLevel level)
{
    if (osg::osgLogP == nullptr)
        osg::doInitLog();
    return osg::osgLogP->checkLevel(level);
}

/// Writes one entry whatever the log's level; ask `logs()` first. Arguments as for printf.
ZELVAN_BASE_API void writeLog(osg::LogLevel level, LogPlace const& place, char const* format, ...)
    __attribute__((format(printf, 3, 4)));

} // namespace Zelvan
