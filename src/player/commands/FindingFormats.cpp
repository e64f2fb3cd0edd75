#include "player/commands/FindingFormats.h"

#include "player/commands/Checking.h"
#include "player/commands/SourceLines.h"
#include "player/commands/Tables.h"
#include "player/scene/Utf8.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>

namespace Zelvan::play {

namespace {

using Json = nlohmann::ordered_json;

std::string dumped(Json const& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string counted(std::size_t count, char const* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

class TextFormat : public FindingFormat {
public:
    explicit TextFormat(bool styled) : _styled(styled) {}

    std::string file(std::vector<Finding> const& findings, CheckOptions const& options) const override
    {
        std::string text;
        SourceLines lines;
        std::map<std::string, std::pair<unsigned, std::size_t>> written; // lines, and how many were held back
        for (Finding const& finding : findings) {
            auto& [count, heldBack] = written[finding.code];
            if (options.perCode != 0 && count >= options.perCode) {
                heldBack += 1 + finding.more;
                continue;
            }
            ++count;
            append(text, finding, lines);
        }
        for (auto const& [code, count] : written)
            if (count.second > 0)
                text += printable(findings.front().place.file) + ": ... and " + std::to_string(count.second) + " more [" + code
                    + "]\n";
        return text;
    }

private:
    void append(std::string& text, Finding const& finding, SourceLines& lines) const
    {
        constexpr char const* styles[] = {"\033[2m", "\033[36m", "\033[33m", "\033[31m"}; // faint, cyan, yellow, red
        std::string const place = printable(finding.place.text());
        text += place + ": " + (_styled ? styles[static_cast<unsigned>(finding.severity)] : "") + severityName(finding.severity)
            + (_styled ? "\033[0m: " : ": ") + printable(textOf(finding)) + " [" + finding.code + "]\n";
        if (_styled)
            text += excerpt(finding.place, lines.line(finding.place));
        if (finding.more > 0)
            text += place + ": ... and " + std::to_string(finding.more) + " more" + (finding.node.empty() ? "" : " at ")
                + printable(finding.node) + " [" + finding.code + "]\n";
    }
    /// The part of the line around the place, and a mark under it.
    static std::string excerpt(Place const& place, std::string const& line)
    {
        constexpr std::size_t before = 40, most = 100;
        std::size_t at = place.line == 1 && line.starts_with("\xef\xbb\xbf") ? 3 : 0; // a byte order mark is no character
        for (unsigned passed = 1; passed < place.column && at < line.size(); ++passed)
            at += decodeUtf8(std::string_view(line).substr(at)).length;
        if (place.column == 0 || at >= line.size())
            return "";
        std::size_t begin = at > before ? at - before : line.find_first_not_of(" \t");
        begin = std::min(begin, at);
        while (begin > 0 && (line[begin] & 0xC0) == 0x80)
            --begin; // not into the middle of a character
        std::string_view const shown = std::string_view(line).substr(begin, most);
        std::string const number = std::to_string(place.line);
        return ' ' + number + " | " + printable(shown.substr(0, shown.size() - cutOff(shown))) + "\n "
            + std::string(number.size(), ' ') + " | " + std::string(displayWidth(printable(shown.substr(0, at - begin))), ' ')
            + "^\n";
    }
    /// Bytes at the end that are no whole character.
    static std::size_t cutOff(std::string_view text)
    {
        std::size_t rest = 0;
        while (rest < 3 && rest < text.size() && (text[text.size() - 1 - rest] & 0xC0) == 0x80)
            ++rest;
        return text.empty() || rest == text.size() || decodeUtf8(text.substr(text.size() - 1 - rest)).valid ? 0 : rest + 1;
    }

    bool _styled;
};

class JsonFormat : public FindingFormat {
public:
    void begin(std::ostream& out) const override { out << "{\n  \"findings\": [\n"; }
    std::string file(std::vector<Finding> const& findings, CheckOptions const&) const override
    {
        std::string text; // one at a time: a document of them all takes many times the memory
        for (Finding const& finding : findings) {
            Json entry = {
                {"file", finding.place.file},     {"line", finding.place.line},
                {"column", finding.place.column}, {"severity", severityName(finding.severity)},
                {"code", finding.code},           {"node", finding.node},
                {"message", finding.message},     {"advice", finding.advice},
                {"fix", fixName(finding.fix)},
            };
            if (finding.more > 0)
                entry["more"] = finding.more;
            for (TextChange const& change : finding.changes)
                entry["changes"].push_back({
                    {"file", change.file},
                    {"line", change.begin.line},
                    {"column", change.begin.column},
                    {"endLine", change.end.line},
                    {"endColumn", change.end.column},
                    {"text", change.with},
                });
            text += (text.empty() ? "    " : ",\n    ") + dumped(entry);
        }
        return text;
    }
    std::string_view separator() const override { return ",\n"; }
    void end(std::ostream& out, FindingCounts const& counts) const override
    {
        out << "\n  ],\n  \"files\": " << counts.files << ",\n  \"errors\": " << counts.errors
            << ",\n  \"warnings\": " << counts.warnings << ",\n  \"notes\": " << counts.notes
            << ",\n  \"hints\": " << counts.hints << ",\n  \"fixable\": " << counts.fixable
            << ",\n  \"fixableSafely\": " << counts.fixable - counts.unsafe << "\n}\n";
    }
};

// SARIF 2.1.0.
class SarifFormat : public FindingFormat {
public:
    void begin(std::ostream& out) const override
    {
        Json rules = Json::array();
        for (CheckCode const& code : checkCodes())
            rules.push_back({{"id", code.code},
                             {"shortDescription", {{"text", std::string(code.title) + '.'}}},
                             {"fullDescription", {{"text", code.meaning}}},
                             {"help", {{"text", std::string(code.why) + ' ' + code.how}, {"markdown", markdown(code)}}},
                             {"defaultConfiguration", {{"level", level(code.severity)}}},
                             {"properties", {{"fix", fixName(code.fix)}}}});
        Json const driver = {{"name", "zelvan-play"}, {"version", ZELVAN_VERSION}, {"rules", rules}};
        out << "{\"$schema\":\"https://json.schemastore.org/sarif-2.1.0.json\",\"version\":\"2.1.0\",\"runs\":[{\"tool\":"
            << dumped({{"driver", driver}})
            << ",\"columnKind\":\"unicodeCodePoints\",\"newlineSequences\":[\"\\r\\n\",\"\\n\",\"\\r\"],\"results\":[\n";
    }
    std::string file(std::vector<Finding> const& findings, CheckOptions const&) const override
    {
        std::string text;
        for (Finding const& finding : findings)
            text += (text.empty() ? "" : ",\n") + dumped(result(finding));
        return text;
    }
    std::string_view separator() const override { return ",\n"; }
    void end(std::ostream& out, FindingCounts const&) const override { out << "\n]}]}\n"; }

private:
    static char const* level(Severity severity) { return severity == Severity::hint ? "note" : severityName(severity); }
    static std::string markdown(CheckCode const& code)
    {
        std::string text = std::string(code.meaning) + "\n\n" + code.why;
        if (!code.bad.empty())
            text += "\n\n```xml\n" + code.bad + "\n```\n\nBetter:\n\n```xml\n" + code.good + "\n```";
        return text + "\n\n" + code.how;
    }
    /// A path as a reference: only what RFC 3986 lets stand there.
    static std::string uri(std::string const& path)
    {
        constexpr char hex[] = "0123456789ABCDEF";
        std::string text = path.starts_with('/') ? "file://" : "";
        for (char const c : path)
            if (std::isalnum(static_cast<unsigned char>(c)) != 0
                || std::string_view("/-._~!$&'()*+,;=@").find(c) != std::string_view::npos)
                text += c;
            else
                text += {'%', hex[static_cast<unsigned char>(c) >> 4], hex[c & 15]};
        return text;
    }
    static Json artifact(std::string const& file) { return {{"uri", uri(file)}}; }
    static Json result(Finding const& finding)
    {
        CheckCode const& code = codeNamed(finding.code);
        Json location = {{"artifactLocation", artifact(finding.place.file)}};
        if (finding.place.line != 0) {
            location["region"] = {{"startLine", finding.place.line}};
            if (finding.place.column != 0)
                location["region"]["startColumn"] = finding.place.column;
        }
        Json where = {{"physicalLocation", location}};
        if (!finding.node.empty())
            where["logicalLocations"] = Json::array({{{"fullyQualifiedName", finding.node}}});
        Json result = {{"ruleId", finding.code},
                       {"ruleIndex", &code - checkCodes().data()},
                       {"level", level(finding.severity)},
                       {"message", {{"text", textOf(finding)}}},
                       {"locations", Json::array({where})}};
        if (finding.more > 0)
            result["properties"] = {{"more", finding.more}};
        if (!finding.changes.empty())
            result["fixes"] = Json::array({fix(finding, code)});
        return result;
    }
    static Json fix(Finding const& finding, CheckCode const& code)
    {
        Json files = Json::array();
        for (TextChange const& change : finding.changes) {
            if (files.empty() || files.back()["artifactLocation"] != artifact(change.file))
                files.push_back({{"artifactLocation", artifact(change.file)}, {"replacements", Json::array()}});
            Json const region = {{"startLine", change.begin.line},
                                 {"startColumn", change.begin.column},
                                 {"endLine", change.end.line},
                                 {"endColumn", change.end.column}};
            files.back()["replacements"].push_back({{"deletedRegion", region}, {"insertedContent", {{"text", change.with}}}});
        }
        std::string const safety =
            finding.fix == Fix::safe ? " What is played stays the same." : " This changes what is played.";
        return {{"description", {{"text", code.how + safety}}}, {"artifactChanges", files}};
    }
};

// Commands that GitHub's runners read from a step's output.
class GithubFormat : public FindingFormat {
public:
    std::string file(std::vector<Finding> const& findings, CheckOptions const&) const override
    {
        std::string text;
        for (Finding const& finding : findings) {
            Place const& place = finding.place;
            text += finding.severity == Severity::error ? "::error"
                : finding.severity == Severity::warning ? "::warning"
                                                        : "::notice";
            text += " file=" + escaped(place.file, true);
            if (place.line != 0)
                text += ",line=" + std::to_string(place.line) + ",col=" + std::to_string(place.column);
            text += ",title=" + escaped(finding.code, true) + "::" + escaped(textOf(finding), false) + '\n';
        }
        return text;
    }

private:
    static std::string escaped(std::string const& text, bool property)
    {
        std::string result;
        for (char const c : property ? text : printable(text))
            switch (c) {
            case '%': result += "%25"; break;
            case '\r': result += "%0D"; break;
            case '\n': result += "%0A"; break;
            case ':': result += property ? "%3A" : ":"; break;
            case ',': result += property ? "%2C" : ","; break;
            default: result += c;
            }
        return result;
    }
};

} // namespace

FindingCounts countsOf(std::vector<Finding> const& findings)
{
    FindingCounts counts;
    for (Finding const& finding : findings) {
        std::size_t const count = 1 + finding.more;
        std::size_t* const bySeverity[] = {&counts.hints, &counts.notes, &counts.warnings, &counts.errors};
        *bySeverity[static_cast<unsigned>(finding.severity)] += count;
        counts.fixable += finding.fix != Fix::none ? count : 0;
        counts.unsafe += finding.fix == Fix::unsafe ? count : 0;
    }
    return counts;
}

std::string countsText(FindingCounts const& counts)
{
    return counted(counts.errors, "error") + ", " + counted(counts.warnings, "warning") + ", " + counted(counts.notes, "note")
        + (counts.hints > 0 ? ", " + counted(counts.hints, "hint") : "")
        + (counts.fixable > 0 ? ", " + std::to_string(counts.fixable) + " fixable" : "")
        + (counts.unsafe > 0 ? " (" + std::to_string(counts.unsafe) + " with --unsafe-fixes only)" : "");
}

std::unique_ptr<FindingFormat> findingFormat(std::string const& name, bool styled)
{
    if (name == "json")
        return std::make_unique<JsonFormat>();
    if (name == "sarif")
        return std::make_unique<SarifFormat>();
    if (name == "github")
        return std::make_unique<GithubFormat>();
    return std::make_unique<TextFormat>(styled);
}

} // namespace Zelvan::play
