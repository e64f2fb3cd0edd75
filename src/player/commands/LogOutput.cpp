#include "player/commands/LogOutput.h"

#include "base/OpenSG.h"
#include "player/scene/Scene.h"
#include "player/scene/Utf8.h"

#include <iostream>
#include <streambuf>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Zelvan::play {

namespace {

constexpr unsigned shown = 2; // of messages that every event would repeat

// OpenSG reports a hue that is none on the standard error stream itself.
class FewHueErrors : public std::streambuf {
public:
    explicit FewHueErrors(std::streambuf& to) : _to(to) {}

protected:
    std::streamsize xsputn(char const* text, std::streamsize count) override
    {
        bool const error = std::string_view(text, static_cast<std::size_t>(count)).starts_with("ERROR i not in [0, 5]");
        _dropped = error && ++_errors > shown;
        return _dropped ? count : _to.sputn(text, count);
    }
    int_type overflow(int_type c) override
    {
        return std::exchange(_dropped, false) ? traits_type::not_eof(c) : _to.sputc(traits_type::to_char_type(c));
    }
    int sync() override { return _to.pubsync(); }

private:
    std::streambuf& _to;
    unsigned _errors = 0;
    bool _dropped = false;
};

// The entry's end is the log's own; whatever ends a line before it comes from a scene.
void writeEntry(osg::LogRecord const& record, bool whole)
{
    constexpr char const* levels[] = {"LOG", "FATAL", "WARNING", "NOTICE", "INFO", "DEBUG"};
    std::string_view text = record.text;
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    if (whole)
        std::cerr << levels[record.level] << ": " << record.module << ": " << record.file << ':' << record.line << ": ";
    else
        std::cerr << "log: ";
    std::cerr << printable(text) << '\n';
}

std::unordered_map<std::string, unsigned> seen;

Scene const* namedScene = nullptr;

// "PositionInterpolator3D/Path: ..." for a <PositionInterpolator DEF='Path'>.
std::string asTheAuthorSays(std::string const& text)
{
    auto const slash = text.find('/'), end = text.find(": ");
    if (namedScene == nullptr || slash >= end || end == std::string::npos)
        return text;
    std::string_view const type(text.data(), slash), name(text.data() + slash + 1, end - slash - 1);
    for (SceneNode const& node : namedScene->sceneNodes)
        if (node.known && node.node->type()._name == type && node.node->displayName() == name)
            return node.typeName + ' ' + node.name + text.substr(end);
    return text;
}

void writeFew(osg::LogRecord const& record)
{
    constexpr std::size_t texts = 100;
    if (seen.size() >= texts && !seen.contains(record.text))
        return osg::osgLog().setLogLevel(osg::LOG_LOG); // no more is formatted
    unsigned const count = ++seen[record.text];
    if (count <= shown) {
        osg::LogRecord named = record;
        named.text = asTheAuthorSays(record.text);
        writeEntry(named, false);
    }
    if (count == shown)
        std::cerr << "log: (not shown again)\n";
}

} // namespace

void nameNodesOf(Scene const* scene)
{
    namedScene = scene;
}

void showLog(int level, bool all)
{
    osg::Log& log = osg::osgLog();
    log.setLogLevel(static_cast<osg::LogLevel>(level));
    if (log.getLogType() == osg::LOG_FILE)
        return; // its own place, asked for by the environment
    log.setLogType(osg::LOG_NONE);
    log.setCallback([all](osg::LogRecord const& record) { all ? writeEntry(record, true) : writeFew(record); });
    if (all)
        return;
    // Outlives the stream's last flush.
    static FewHueErrors* few = nullptr;
    if (few == nullptr) // what stands in its way later is there to catch what is written
        std::cerr.rdbuf(few = new FewHueErrors(*std::cerr.rdbuf()));
}

void forgetShown(int level)
{
    std::exchange(seen, {});
    osg::osgLog().setLogLevel(static_cast<osg::LogLevel>(level));
}

} // namespace Zelvan::play
