#include <OpenSG/OSGLog.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace osg {
namespace {

void write(bool header, char const* text)
{
    osgStartLog(header, LOG_WARNING, "pool", "a.cpp", 7, "f()");
    osgLogP->doLog("%s ", text);
    *osgLogP << 5;
    Log::unlock();
}

TEST(Log, WritesHeadersAndTextsWhereItIsTold)
{
    Log& log = osgLog();
    LogType const type = log.getLogType();
    UInt32 const elements = log.getHeaderElem();
    std::ostringstream stream;
    log.setStream(stream);
    std::string const longText(5000, 'x');
    struct Case {
        UInt32 elements;
        bool header;
        std::string text, written;
    } const cases[] = {
        {LOG_NO_HEADER, true, "", " 5"},
        {LOG_TYPE_HEADER, true, "type", "WARNING: type 5"},
        {LOG_MODULE_HEADER | LOG_FILE_HEADER, true, "file", "pool: a.cpp: file 5"},
        {LOG_LINE_HEADER | LOG_FUNCTION_HEADER, true, "line", "7: f(): line 5"},
        {LOG_ALL_HEADER, true, "all", "\nWARNING: pool: a.cpp:7: f(): \nall 5"},
        {LOG_ALL_HEADER, false, longText, longText + " 5"},
    };
    LogRecord seen{};
    log.setCallback([&seen](LogRecord const& record) { seen = record; });
    for (Case const& c : cases) {
        stream.str({});
        log.setHeaderElem(c.elements);
        log.setstate(std::ios::failbit); // somebody's misuse of the entry before
        write(c.header, c.text.c_str());
        EXPECT_EQ(stream.str(), c.written);
        EXPECT_EQ(seen.text, c.text + " 5") << "whatever the header";
    }
    EXPECT_EQ(seen.level, LOG_WARNING);
    EXPECT_EQ(seen.line, 7u);

    stream.str({});
    log.setLogType(LOG_NONE);
    write(true, "unheard");
    osgStartLog(true, LOG_FATAL, nullptr, nullptr, 0, nullptr); // the texts may be missing
    Log::unlock();
    EXPECT_EQ(seen.module, "");
    EXPECT_EQ(stream.str(), "");
    std::string const file = (std::filesystem::temp_directory_path() / "zelvan-log-test").string();
    EXPECT_FALSE(log.setLogFile(nullptr) || log.setLogFile("") || log.setLogFile((file + "/no/folder").c_str()));
    EXPECT_EQ(log.getLogType(), LOG_NONE);
    for (char const* const text : {"one", "two"}) { // appended
        ASSERT_TRUE(log.setLogFile(file.c_str()));
        write(false, text);
    }
    log.setLogType(LOG_STDERR);
    testing::internal::CaptureStderr();
    write(false, "aloud");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "aloud 5");
    {
        Log own(LOG_NONE, LOG_FATAL); // gives its file back when it goes
        EXPECT_TRUE(own.setLogFile(file.c_str()) && own.checkLevel(LOG_FATAL) && !own.checkLevel(LOG_WARNING));
    }
    std::ostringstream read;
    read << std::ifstream(file).rdbuf();
    EXPECT_EQ(read.str(), "one 5two 5");
    std::remove(file.c_str());

    log.setCallback({});
    log.setLogType(type);
    log.setHeaderElem(elements);
}

} // namespace
} // namespace osg
