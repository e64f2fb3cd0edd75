#include "base/Log.h"

namespace Zelvan {

char const* LogModuleName = "zelvan";

void writeLog(osg::LogLevel level, char const* file, unsigned line, char const* function, std::string const& text)
{
    logs(level); // creates the log
    osg::osgStartLog(true, level, LogModuleName, file, line, function);
    try {
        osg::osgLogP->doLog("%s", text.c_str());
    } catch (...) {
        osg::osgLogP->unlock();
        throw;
    }
    osg::osgLogP->unlock();
}

} // namespace Zelvan
