#include "player/checking/Suppressions.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <tuple>

namespace Zelvan::play {

namespace {

constexpr char const* unusedIgnore = "unused-ignore";

struct Ignore {
    Place place; ///< of the code
    std::string code;
    unsigned lastLine; ///< of the comment
    bool wholeFile;
    bool used = false;

    bool covers(Finding const& finding) const
    {
        return finding.code == code && finding.place.file == place.file
            && (wholeFile || (finding.place.line >= place.line && finding.place.line <= lastLine + 1));
    }
};

// The words of a comment up to " - " or its end, with where each begins.
std::vector<std::pair<std::string_view, std::size_t>> wordsOf(std::string_view text)
{
    constexpr std::string_view between = " \t\r\n,";
    std::vector<std::pair<std::string_view, std::size_t>> words;
    for (std::size_t at = text.find_first_not_of(between); at < text.size(); at = text.find_first_not_of(between, at)) {
        std::size_t const end = std::min(text.find_first_of(between, at), text.size());
        std::string_view const word = text.substr(at, end - at);
        if (word == "-" || word == "--" || word == "\u2013" || word == "\u2014")
            break;
        words.emplace_back(word, at);
        at = end;
    }
    return words;
}

std::vector<Ignore> ignoresOf(Scene const& scene, std::vector<Finding>& findings)
{
    std::vector<Ignore> ignores;
    auto const bad = [&](Location where, std::string message) {
        findings.push_back({codeNamed(unusedIgnore).severity, unusedIgnore, scene.place(where), "", std::move(message), ""});
    };
    for (Scene::Remark const& remark : scene.remarks) {
        auto const words = wordsOf(remark.text);
        auto const at = [&](std::size_t word) {
            return Location{remark.where.file, remark.where.offset + static_cast<std::uint32_t>(words[word].second)};
        };
        std::string_view const kind = words.size() > 2 ? words[1].first : "";
        bool const wholeFile = kind == "ignore-file";
        if (kind.empty() || words[0].first != "zelvan:" || (kind != "ignore" && !wholeFile)) {
            bad(remark.where, "expected \"zelvan: ignore CODE - reason\" or \"zelvan: ignore-file CODE\"");
            continue;
        }
        unsigned const lastLine =
            scene.place({remark.where.file, remark.where.offset + static_cast<std::uint32_t>(remark.text.size())}).line;
        for (std::size_t i = 2; i < words.size(); ++i)
            if (std::string const unknown = unknownCode(words[i].first.substr(0, 100)); unknown.empty())
                ignores.push_back({scene.place(at(i)), std::string(words[i].first), lastLine, wholeFile});
            else
                bad(at(i), unknown);
    }
    return ignores;
}

} // namespace

std::vector<Finding> checkWithSuppressions(Scene& scene, std::vector<Finding> readerFindings, CheckOptions const& options)
{
    if (scene.remarks.empty())
        return checkScene(scene, std::move(readerFindings), options);
    std::vector<Finding> own;
    std::vector<Ignore> ignores = ignoresOf(scene, own);
    // What is ignored must not be counted among those that are only counted.
    CheckOptions all = options;
    all.perNode = 0;
    std::vector<Finding> findings = checkScene(scene, std::move(readerFindings), all);
    std::erase_if(findings, [&](Finding const& finding) {
        bool ignored = false;
        for (Ignore& ignore : ignores)
            if (ignore.covers(finding))
                ignore.used = ignored = true;
        return ignored;
    });
    auto const wanted = [&](std::string const& code) {
        return (options.only.empty() || options.only.contains(code)) && !options.ignore.contains(code);
    };
    for (Ignore const& ignore : ignores)
        if (!ignore.used && wanted(ignore.code))
            own.push_back(
                {codeNamed(unusedIgnore).severity, unusedIgnore, ignore.place, "",
                 "nothing to ignore: no " + ignore.code + (ignore.wholeFile ? " in this file" : " on this line or the next"),
                 ""});
    for (Finding& finding : own)
        if (wanted(unusedIgnore)) {
            auto const severity = options.severities.find(unusedIgnore);
            finding.severity = severity == options.severities.end() ? finding.severity : severity->second;
            findings.push_back(std::move(finding));
        }
    std::ranges::stable_sort(findings, {},
                             [](Finding const& f) { return std::tie(f.place.file, f.place.line, f.place.column); });
    if (options.perNode == 0)
        return findings;
    std::map<std::pair<std::string, SceneNode const*>, std::pair<unsigned, std::size_t>> kept; // by code and node
    std::vector<Finding> few;
    for (Finding& finding : findings) {
        auto& [count, last] = kept[{finding.code, finding.subject}];
        if (finding.subject != nullptr && ++count > options.perNode) {
            few[last].more += 1 + finding.more;
            continue;
        }
        last = few.size();
        few.push_back(std::move(finding));
    }
    return few;
}

} // namespace Zelvan::play
