#include "player/commands/Settings.h"

#include "player/commands/Options.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fnmatch.h>
#include <fstream>
#include <functional>
#include <new>
#include <toml++/toml.h>
#include <utility>

namespace Zelvan::play {

namespace {

namespace fs = std::filesystem;

constexpr char const* settingsName = "zelvan-play.toml";

std::vector<std::string> segmentsOf(std::string const& path)
{
    std::vector<std::string> segments;
    for (fs::path const& part : fs::path(path))
        if (!part.empty() && part != "." && part != "/")
            segments.push_back(part.string());
    return segments;
}

// "**" stands for any number of folders, the other signs are the shell's, within one name.
bool matches(std::string const& glob, std::string const& path)
{
    auto const pattern = segmentsOf(glob), name = segmentsOf(path);
    std::vector<bool> before(name.size() + 1), now(name.size() + 1); // whether the pattern so far fits so many names
    before[0] = true;
    for (std::string const& part : pattern) {
        bool const any = part == "**";
        now[0] = any && before[0];
        for (std::size_t i = 1; i <= name.size(); ++i)
            now[i] = any ? before[i] || now[i - 1] : before[i - 1] && ::fnmatch(part.c_str(), name[i - 1].c_str(), 0) == 0;
        std::swap(before, now);
    }
    return before[name.size()];
}

// Why a pattern can fit no file; "" where one may.
std::string globFault(std::string const& glob)
{
    std::vector<std::string> const segments = segmentsOf(glob);
    if (segments.empty())
        return "it is empty";
    if (glob.starts_with('/') || std::ranges::find(segments, "..") != segments.end())
        return "patterns begin in the folder of this file";
    // A set that does not end stands for the bracket itself, which nobody means.
    for (std::string const& segment : segments)
        if (auto const open = segment.find('['); open != std::string::npos && segment.find(']', open + 2) == std::string::npos)
            return "a bracket does not end";
    return "";
}

// What a file says, to be given to any settings it is for.
using Change = std::function<void(Settings&)>;

class Reader {
public:
    Reader(std::string file, std::vector<Change>& changes) : _file(std::move(file)), _changes(changes) {}

    [[noreturn]] void refuse(toml::source_position const& at, std::string const& why) const
    {
        throw Failure(exitUsage, place(at) + ": error: " + why);
    }
    std::string place(toml::source_position const& at) const { return Place{_file, at.line, at.column}.text(); }

    struct Entry {
        std::string name;
        toml::node const& node;
        std::string from;
    };
    using Handlers = std::map<std::string, std::function<void(Entry const&)>>;

    // Hands each entry of a table to its handler; one that has none is an error.
    void each(toml::table const& table, Handlers const& handlers) const
    {
        for (auto const& [key, node] : table) {
            auto const found = handlers.find(std::string(key.str()));
            if (found == handlers.end()) {
                std::string known;
                for (auto const& [name, handler] : handlers)
                    known += (known.empty() ? "" : ", ") + name;
                refuse(key.source().begin, "there is no setting \"" + std::string(key.str()) + "\" here; there are: " + known);
            }
            found->second({std::string(key.str()), node, place(key.source().begin)});
        }
    }

    template <class Value>
    Value as(Entry const& entry, char const* expected) const
    {
        if (auto const value = entry.node.value_exact<Value>())
            return *value;
        refuse(entry.node.source().begin, entry.name + ": expected " + expected);
    }
    double number(Entry const& entry, double low, double high) const
    {
        auto const value = entry.node.is_number() ? entry.node.value<double>() : std::nullopt;
        if (!value || !(*value >= low && *value <= high))
            refuse(entry.node.source().begin,
                   entry.name + ": expected a number from " + roundNumber(low, 12) + " to " + roundNumber(high, 12));
        return *value;
    }
    std::size_t count(Entry const& entry, double low, double high) const
    {
        double const value = number(entry, low, high);
        if (!entry.node.is_integer())
            refuse(entry.node.source().begin, entry.name + ": expected a whole number");
        return static_cast<std::size_t>(value);
    }
    toml::table const& table(Entry const& entry) const
    {
        if (toml::table const* const table = entry.node.as_table())
            return *table;
        refuse(entry.node.source().begin, entry.name + ": expected a table");
    }
    std::vector<std::pair<std::string, std::string>> texts(Entry const& entry) const // each with its place
    {
        std::vector<std::pair<std::string, std::string>> texts;
        toml::array const* const array = entry.node.as_array();
        if (array == nullptr)
            refuse(entry.node.source().begin, entry.name + ": expected a list of strings");
        for (toml::node const& element : *array)
            texts.emplace_back(as<std::string>({entry.name, element, ""}, "a list of strings"), place(element.source().begin));
        return texts;
    }
    void requireCode(std::string const& code, toml::source_position const& at) const
    {
        if (std::string const unknown = unknownCode(code); !unknown.empty())
            refuse(at, unknown);
    }
    void add(Change change) { _changes.push_back(std::move(change)); }

    // "ignore" and "severity", of a file and of what it says for some scenes.
    Handlers severityHandlers()
    {
        return {{"ignore",
                 [this](Entry const& entry) {
                     for (auto const& [code, from] : texts(entry)) {
                         requireCode(code, entry.node.source().begin);
                         add([code = code, from = from](Settings& s) { s.setSeverity(code, std::nullopt, from); });
                     }
                 }},
                {"severity", [this](Entry const& entry) {
                     for (auto const& [key, node] : table(entry)) {
                         std::string const code(key.str());
                         requireCode(code, key.source().begin);
                         auto const severity = severityNamed(as<std::string>({code, node, ""}, "a severity"));
                         if (!severity)
                             refuse(node.source().begin, code + ": expected hint, note, warning, error or off");
                         add([=, from = place(key.source().begin)](Settings& s) { s.setSeverity(code, *severity, from); });
                     }
                 }}};
    }

    template <class Value>
    std::function<void(Entry const&)> sets(Setting<Value> Settings::*setting, std::function<Value(Entry const&)> read)
    {
        return [=, this](Entry const& entry) {
            add([setting, value = read(entry), from = entry.from](Settings& s) { s.*setting = {value, from}; });
        };
    }
    std::function<void(Entry const&)> flag(Setting<bool> Settings::*setting)
    {
        return sets<bool>(setting, [this](Entry const& entry) { return as<bool>(entry, "true or false"); });
    }
    std::function<void(Entry const&)> small(Setting<unsigned> Settings::*setting, double low, double high)
    {
        return sets<unsigned>(setting, [=, this](Entry const& e) { return static_cast<unsigned>(count(e, low, high)); });
    }
    std::function<void(Entry const&)> real(Setting<double> Settings::*setting, double low, double high)
    {
        return sets<double>(setting, [=, this](Entry const& entry) { return number(entry, low, high); });
    }
    std::function<void(Entry const&)> name(Setting<std::string> Settings::*setting, std::vector<std::string> const& names)
    {
        return sets<std::string>(setting, [=, this](Entry const& entry) { return oneOf(entry, names); });
    }
    std::string oneOf(Entry const& entry, std::vector<std::string> const& names) const
    {
        std::string known;
        for (std::string const& one : names)
            known += (known.empty() ? "" : ", ") + one;
        std::string const text = as<std::string>(entry, known.c_str());
        if (std::ranges::find(names, text) == names.end())
            refuse(entry.node.source().begin, entry.name + ": expected one of " + known);
        return text;
    }

private:
    std::string _file;
    std::vector<Change>& _changes;
};

} // namespace

struct SettingsFiles::File {
    struct Override {
        std::vector<std::string> globs;
        std::vector<Change> changes;
    };
    fs::path folder;
    std::vector<Change> changes;
    std::vector<Override> overrides;

    void readOverride(std::string const& name, toml::table const& table);
    void readAll(std::string const& name, toml::table const& table);
};

void SettingsFiles::File::readOverride(std::string const& name, toml::table const& table)
{
    Override& own = overrides.emplace_back();
    Reader reader(name, own.changes);
    Reader::Handlers handlers = reader.severityHandlers();
    handlers["files"] = [&](Reader::Entry const& entry) {
        for (auto const& [glob, from] : reader.texts(entry)) {
            if (std::string const fault = globFault(glob); !fault.empty())
                throw Failure(exitUsage, from + ": error: files: \"" + glob + "\" fits nothing: " + fault);
            own.globs.push_back(glob);
        }
    };
    reader.each(table, handlers);
    if (own.globs.empty())
        reader.refuse(table.source().begin, "overrides: expected files = [\"...\"], which it is for");
}

void SettingsFiles::File::readAll(std::string const& name, toml::table const& table)
{
    Reader reader(name, changes);
    Reader::Handlers handlers = reader.severityHandlers();
    handlers["only"] = [&](Reader::Entry const& entry) {
        std::vector<std::string> codes;
        for (auto const& [code, from] : reader.texts(entry)) {
            reader.requireCode(code, entry.node.source().begin);
            codes.push_back(code);
        }
        reader.add([codes, from = entry.from](Settings& s) { s.only = {codes, from}; });
    };
    handlers["hints"] = reader.flag(&Settings::hints);
    handlers["strict"] = reader.flag(&Settings::strict);
    handlers["per-node"] = reader.small(&Settings::perNode, 0, 1e9);
    handlers["per-code"] = reader.small(&Settings::perCode, 0, 1e9);
    handlers["root"] = reader.sets<std::string>(&Settings::root, [&](Reader::Entry const& entry) {
        return (folder / reader.as<std::string>(entry, "a folder")).lexically_normal().string();
    });
    handlers["jobs"] = reader.small(&Settings::jobs, 1, mostJobs);
    handlers["format"] = reader.name(&Settings::format, {"text", "json", "sarif", "github"});
    handlers["from"] = reader.real(&Settings::from, 0, latestTime);
    handlers["to"] = reader.sets<std::optional<double>>(
        &Settings::to, [&](Reader::Entry const& entry) { return std::optional(reader.number(entry, 0, latestTime)); });
    handlers["fps"] = reader.real(&Settings::fps, leastFps, mostFps);
    handlers["fail-on"] = reader.sets<Severity>(&Settings::failOn, [&](Reader::Entry const& entry) {
        return **severityNamed(reader.oneOf(entry, {"note", "warning", "error"}));
    });
    handlers["max-warnings"] = reader.sets<std::optional<std::size_t>>(
        &Settings::maxWarnings, [&](Reader::Entry const& entry) { return std::optional(reader.count(entry, 0, 1e9)); });
    handlers["limits"] = [&](Reader::Entry const& entry) {
        Reader::Handlers limits;
        for (LimitOption const& limit : limitOptions())
            limits[limit.name] = [&, most = limit.most](Reader::Entry const& one) {
                reader.add([name = one.name, value = reader.count(one, 1, most), from = one.from](Settings& s) {
                    s.limits[name] = {value, from};
                });
            };
        reader.each(reader.table(entry), limits);
    };
    handlers["overrides"] = [&](Reader::Entry const& entry) {
        toml::array const* const list = entry.node.as_array();
        if (list == nullptr)
            reader.refuse(entry.node.source().begin, "expected [[overrides]]");
        for (toml::node const& one : *list)
            readOverride(name, reader.table({"overrides", one, ""}));
    };
    reader.each(table, handlers);
}

std::shared_ptr<SettingsFiles::File const> SettingsFiles::read(fs::path const& path)
{
    auto& known = _byPath[path];
    if (known != nullptr)
        return known;
    constexpr std::uintmax_t longest = 1 << 20;
    auto file = std::make_shared<File>();
    std::string const name = path.lexically_proximate(fs::current_path()).string();
    std::error_code error;
    if (!fs::exists(path, error))
        throw Failure(exitUsage, name + ": there is no such file of settings");
    if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > longest)
        throw Failure(exitUsage, name + ": expected a file of settings, of at most " + std::to_string(longest) + " bytes");
    std::ifstream in(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(fs::file_size(path, error)), '\0');
    if (!in.read(text.data(), static_cast<std::streamsize>(text.size())))
        throw Failure(exitMachine, name + ": cannot read");
    file->folder = fs::absolute(path).parent_path();
    try {
        file->readAll(name, toml::parse(text));
    } catch (toml::parse_error const& failure) {
        auto const& at = failure.source().begin;
        throw Failure(exitUsage, Place{name, at.line, at.column}.text() + ": error: " + std::string(failure.description()));
    }
    return known = file;
}

std::shared_ptr<SettingsFiles::File const> SettingsFiles::fileFor(fs::path const& folder)
{
    auto const [known, isNew] = _byFolder.try_emplace(folder);
    if (!isNew)
        return known->second;
    std::error_code error;
    fs::path const here = fs::current_path();
    // Whether one of the folders above is a repository's, or the current one.
    auto const last = [&](auto const& is) {
        for (fs::path at = folder;; at = at.parent_path()) {
            if (is(at))
                return at;
            if (at == at.parent_path())
                return fs::path();
        }
    };
    fs::path end = last([&](fs::path const& at) { return fs::exists(at / ".git", error); });
    if (end.empty())
        end = last([&](fs::path const& at) { return at == here; });
    if (end.empty())
        end = folder;
    std::shared_ptr<File const> found;
    for (fs::path at = folder; found == nullptr; at = at.parent_path()) {
        if (fs::exists(at / settingsName, error))
            found = read(at / settingsName);
        if (at == end)
            break;
    }
    return _byFolder[folder] = found;
}

Settings SettingsFiles::forScene(std::string const& scene)
{
    Settings settings;
    if (_none)
        return settings;
    std::error_code error;
    fs::path const whole = scene == "-" ? fs::current_path() / "-" : fs::weakly_canonical(fs::absolute(scene), error);
    if (error == std::errc::not_enough_memory)
        throw std::bad_alloc();
    auto const file = _explicit.empty() ? fileFor(whole.parent_path()) : read(fs::absolute(_explicit));
    if (file == nullptr)
        return settings;
    for (Change const& change : file->changes)
        change(settings);
    std::string const name = whole.lexically_relative(fs::weakly_canonical(file->folder, error)).string();
    for (File::Override const& own : file->overrides)
        if (std::ranges::any_of(own.globs, [&](std::string const& glob) { return matches(glob, name); }))
            for (Change const& change : own.changes)
                change(settings);
    return settings;
}

void SettingsFiles::readFor(std::vector<std::string> const& scenes)
{
    std::optional<fs::path> last;
    for (std::string const& scene : scenes)
        if (fs::path const folder = fs::path(scene).parent_path(); folder != last) {
            forScene(scene);
            last = folder;
        }
}

CheckOptions Settings::checkOptions() const
{
    CheckOptions options;
    options.only.insert(only.value.begin(), only.value.end());
    for (auto const& [code, severity] : severities)
        if (severity.value)
            options.severities[code] = *severity.value;
        else
            options.ignore.insert(code);
    options.hints = hints.value;
    options.perNode = perNode.value;
    options.perCode = perCode.value;
    return options;
}

void Settings::apply(ReadLimits& readLimits) const
{
    readLimits.root = root.value;
    for (LimitOption const& limit : limitOptions())
        if (auto const found = limits.find(limit.name); found != limits.end())
            limit.set(readLimits, found->second.value);
}

std::optional<std::optional<Severity>> severityNamed(std::string_view name)
{
    for (Severity const severity : {Severity::hint, Severity::note, Severity::warning, Severity::error})
        if (name == severityName(severity))
            return severity;
    if (name == "off")
        return std::optional<std::optional<Severity>>(std::in_place, std::nullopt);
    return std::nullopt;
}

} // namespace Zelvan::play
