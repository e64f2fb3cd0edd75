#include "OpenSG/OSGLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <mutex>
#include <sstream>

OSG_BEGIN_NAMESPACE

class LogLock {
public:
    std::recursive_mutex _mutex;
};

// Collects the entry that is open.
class Log::Buffer : public std::stringbuf {};

LogP osgLogP = nullptr;
LogLock* Log::_pLogLock = nullptr;

namespace {

constexpr char const* levelNames[] = {"LOG", "FATAL", "WARNING", "NOTICE", "INFO", "DEBUG"};

} // namespace

Log::Log(LogType type, LogLevel level) : std::ostream(nullptr), _type(type), _level(level), _buffer(new Buffer)
{
    rdbuf(_buffer);
}

Log::~Log()
{
    delete _file;
    delete _buffer;
}

bool Log::setLogFile(Char8 const* fileName)
{
    if (fileName == nullptr || *fileName == '\0')
        return false;
    auto* const file = new std::ofstream(fileName, std::ios::app);
    if (!*file) {
        delete file;
        return false;
    }
    delete _file;
    _file = file;
    _type = LOG_FILE;
    return true;
}

void Log::setStream(std::ostream& stream)
{
    _stream = &stream;
    _type = LOG_STREAM;
}

void Log::setCallback(std::function<void(LogRecord const&)> callback)
{
    _callback = std::move(callback);
}

std::ostream* Log::target() const
{
    switch (_type) {
    case LOG_STDOUT: return &std::cout;
    case LOG_STDERR: return &std::cerr;
    case LOG_FILE: return _file;
    case LOG_STREAM: return _stream;
    case LOG_NONE: break;
    }
    return nullptr;
}

void Log::doLog(Char8 const* format, ...)
{
    std::va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    int const length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
    // Past the stream, which would keep it to itself if there were no memory.
    _buffer->sputn(text.data(), static_cast<std::streamsize>(text.size()));
}

void Log::lock()
{
    if (_pLogLock != nullptr)
        _pLogLock->_mutex.lock();
}

void Log::unlock()
{
    struct Release {
        ~Release()
        {
            if (_pLogLock != nullptr)
                _pLogLock->_mutex.unlock();
        }
    } const release; // whatever a callback throws
    if (osgLogP != nullptr)
        osgLogP->end();
}

void Log::begin(bool logHeader, LogRecord record)
{
    end(); // an entry opened inside another closes it
    clear();
    _record = std::move(record);
    _withHeader = logHeader;
    _open = true;
}

void Log::end()
{
    if (!_open)
        return;
    _open = false;
    _record.text = _buffer->str();
    _buffer->str({});
    if (std::ostream* const sink = target()) {
        auto const has = [this](LogHeaderElem elem) { return _withHeader && (_headerElem & elem) != 0; };
        if (has(LOG_BEGIN_NEWLINE_HEADER))
            *sink << '\n';
        if (has(LOG_TYPE_HEADER))
            *sink << levelNames[_record.level] << ": ";
        if (has(LOG_MODULE_HEADER))
            *sink << _record.module << ": ";
        if (has(LOG_FILE_HEADER))
            *sink << _record.file << (has(LOG_LINE_HEADER) ? ":" : ": ");
        if (has(LOG_LINE_HEADER))
            *sink << std::to_string(_record.line) << ": ";
        if (has(LOG_FUNCTION_HEADER))
            *sink << _record.function << ": ";
        if (has(LOG_END_NEWLINE_HEADER))
            *sink << '\n';
        *sink << _record.text << std::flush;
    }
    if (_callback)
        _callback(_record);
}

void doInitLog()
{
    static std::mutex once; // threads may write their first entries at the same time
    std::lock_guard const lock(once);
    if (osgLogP != nullptr)
        return;
    // Both live as long as the process: the last destructors may still log.
    Log::_pLogLock = new LogLock;
    osgLogP = new Log;
    if (char const* const level = std::getenv("OSG_LOG_LEVEL"); level != nullptr && *level >= '0' && *level <= '5')
        osgLogP->setLogLevel(static_cast<LogLevel>(*level - '0'));
    if (char const* const file = std::getenv("OSG_LOG_FILE"))
        osgLogP->setLogFile(file);
}

std::ostream& osgStartLog(bool logHeader, LogLevel level, Char8 const* module, Char8 const* file, UInt32 line,
                          Char8 const* function)
{
    auto const text = [](Char8 const* maybe) { return std::string(maybe ? maybe : ""); };
    LogRecord record{level, text(module), text(file), line, text(function), {}};
    initLog();
    Log::lock();
    osgLogP->begin(logHeader, std::move(record));
    return *osgLogP;
}

OSG_END_NAMESPACE
