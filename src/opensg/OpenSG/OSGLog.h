#pragma once

#include "OpenSG/OSGConfig.h"

#include <functional>
#include <ostream>
#include <string>

OSG_BEGIN_NAMESPACE

enum LogType { LOG_NONE = 0, LOG_STDOUT = 1, LOG_STDERR = 2, LOG_FILE = 3, LOG_STREAM = 4 };

enum LogLevel { LOG_LOG = 0, LOG_FATAL = 1, LOG_WARNING = 2, LOG_NOTICE = 3, LOG_INFO = 4, LOG_DEBUG = 5 };

/// What stands before the text of an entry; combined bit by bit.
enum LogHeaderElem {
    LOG_NO_HEADER = 0,
    LOG_BEGIN_NEWLINE_HEADER = 1,
    LOG_TYPE_HEADER = 2,
    LOG_MODULE_HEADER = 8,
    LOG_FILE_HEADER = 16,
    LOG_LINE_HEADER = 32,
    LOG_FUNCTION_HEADER = 64,
    LOG_END_NEWLINE_HEADER = 128,
    LOG_ALL_HEADER = LOG_BEGIN_NEWLINE_HEADER | LOG_TYPE_HEADER | LOG_MODULE_HEADER | LOG_FILE_HEADER | LOG_LINE_HEADER
        | LOG_FUNCTION_HEADER | LOG_END_NEWLINE_HEADER
};

/// One finished entry, as callbacks see it.
struct LogRecord {
    LogLevel level;
    std::string module;
    std::string file;
    UInt32 line;
    std::string function;
    std::string text;
};

/// The lock of the log; the thread that holds it may take it again.
class LogLock;

/// The log: a stream with levels. An entry is opened by `osgStartLog`, which takes the lock, filled by `doLog`
/// or by writing to the stream, and closed by `unlock`.
class OSG_BASELIB_DLLMAPPING Log : public std::ostream {
public:
    explicit Log(LogType type = LOG_STDERR, LogLevel level = LOG_NOTICE);
    Log(Log const&) = delete;
    Log& operator=(Log const&) = delete;
    ~Log() override;

    bool checkLevel(LogLevel level) const { return level <= _level; }
    LogLevel getLogLevel() const { return _level; }
    void setLogLevel(LogLevel level) { _level = level; }

    LogType getLogType() const { return _type; }
    void setLogType(LogType type) { _type = type; }
    /// Appends to the file; an empty or unusable name leaves the log where it was and returns false.
    bool setLogFile(Char8 const* fileName);
    /// Writes to a stream of the caller's, which must outlive its use here.
    void setStream(std::ostream& stream);
    /// Receives every finished entry, beside the stream; empty for none. Called under the lock.
    void setCallback(std::function<void(LogRecord const&)> callback);

    /// Header elements: a combination of LogHeaderElem.
    UInt32 getHeaderElem() const { return _headerElem; }
    void setHeaderElem(UInt32 elems) { _headerElem = elems; }
    void addHeaderElem(LogHeaderElem elem) { _headerElem |= static_cast<UInt32>(elem); }
    void delHeaderElem(LogHeaderElem elem) { _headerElem &= ~static_cast<UInt32>(elem); }

    /// Writes into the open entry; arguments as for printf, texts of any length.
    void doLog(Char8 const* format, ...) __attribute__((format(printf, 2, 3)));

    static void lock();
    /// Closes the entry that is open and gives the lock back, if there is one.
    static void unlock();

    /// Null until the log is initialised.
    static LogLock* _pLogLock;

private:
    friend OSG_BASELIB_DLLMAPPING std::ostream& osgStartLog(bool logHeader, LogLevel level, Char8 const* module,
                                                            Char8 const* file, UInt32 line, Char8 const* function);
    class Buffer;
    std::ostream* target() const;
    void begin(bool logHeader, LogRecord record);
    void end();

    LogType _type;
    LogLevel _level;
    UInt32 _headerElem = LOG_TYPE_HEADER | LOG_MODULE_HEADER | LOG_FILE_HEADER | LOG_LINE_HEADER;
    std::ostream* _stream = nullptr;
    std::ostream* _file = nullptr;
    std::function<void(LogRecord const&)> _callback;
    LogRecord _record{};
    bool _withHeader = false;
    bool _open = false;
    Buffer* _buffer;
};

using LogP = Log*;

/// The one log of the process; null before `doInitLog`.
extern OSG_BASELIB_DLLMAPPING LogP osgLogP;

/// Creates the log. Its level comes from the environment variable OSG_LOG_LEVEL (a number), its file from
/// OSG_LOG_FILE, where they are set.
OSG_BASELIB_DLLMAPPING void doInitLog();

inline void initLog()
{
    if (osgLogP == nullptr)
        doInitLog();
}

inline Log& osgLog()
{
    initLog();
    return *osgLogP;
}

/// Takes the lock and opens an entry. The texts may be null.
OSG_BASELIB_DLLMAPPING std::ostream& osgStartLog(bool logHeader, LogLevel level, Char8 const* module, Char8 const* file,
                                                 UInt32 line, Char8 const* function);

OSG_END_NAMESPACE
