#pragma once

#include "base/OpenSG.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

namespace Zelvan::test {

struct LogEntry {
    osg::LogLevel level;
    std::string file;
    unsigned line;
    std::string function;
    std::string text;

    bool operator==(LogEntry const&) const = default;
    friend std::ostream& operator<<(std::ostream& out, LogEntry const& entry)
    {
        return out << entry.level << ' ' << entry.file << ':' << entry.line << ' ' << entry.function << ": " << entry.text;
    }
};

/// Collects the log's entries while it lives, and keeps them off the standard error stream.
class LogCapture {
public:
    explicit LogCapture(osg::LogLevel level) : _oldLevel(osg::osgLog().getLogLevel()), _oldType(osg::osgLog().getLogType())
    {
        osg::osgLogP->setLogLevel(level);
        osg::osgLogP->setLogType(osg::LOG_NONE);
        osg::osgLogP->setCallback([this](osg::LogRecord const& r) {
            _modules.push_back(r.module);
            _entries.push_back({r.level, r.file, r.line, r.function, r.text});
        });
    }
    ~LogCapture()
    {
        osg::osgLogP->setCallback({});
        osg::osgLogP->setLogType(_oldType);
        osg::osgLogP->setLogLevel(_oldLevel);
    }

    std::size_t size() const { return _entries.size(); }
    LogEntry const& operator[](std::size_t i) const { return _entries[i]; }
    void clear() { _entries.clear(); }

    std::vector<std::string> _modules;
    std::vector<LogEntry> _entries;

private:
    osg::LogLevel _oldLevel;
    osg::LogType _oldType;
};

} // namespace Zelvan::test
