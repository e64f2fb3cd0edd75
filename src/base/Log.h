#pragma once

#include "base/Export.h"
#include "base/OpenSG.h"

#include <string>

namespace Zelvan {

/// Module name of every log line of the framework and its pools.
extern ZELVAN_BASE_API char const* LogModuleName;

/// True when messages of this level are written. Ask before any text is put together.
inline bool logs(osg::LogLevel level)
{
    if (osg::osgLogP == nullptr)
        osg::doInitLog();
    return osg::osgLogP->checkLevel(level);
}

/// Writes one entry whatever the log's level; ask `logs()` first. `file` is named by its folder and without extension
/// ("base/Field"), `function` by its full signature.
ZELVAN_BASE_API void writeLog(osg::LogLevel level, char const* file, unsigned line, char const* function,
                              std::string const& text);

} // namespace Zelvan
