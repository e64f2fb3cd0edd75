#include "player/checking/Check.h"
#include "player/scene/Utf8.h"

#include <nlohmann/json.hpp>
#include <ostream>

namespace Zelvan::play {

void writeFindings(std::ostream& out, std::vector<Finding> const& findings, CheckOptions const& options, bool styled)
{
    constexpr char const* styles[] = {"\033[2m", "\033[36m", "\033[33m", "\033[31m"}; // faint, cyan, yellow, red
    std::map<std::string, std::pair<unsigned, std::size_t>> written; // lines, and how many were held back
    for (Finding const& finding : findings) {
        auto& [lines, heldBack] = written[finding.code];
        if (options.perCode != 0 && lines >= options.perCode) {
            heldBack += 1 + finding.more;
            continue;
        }
        ++lines;
        std::string const place = printable(finding.place.text());
        out << place << ": " << (styled ? styles[static_cast<unsigned>(finding.severity)] : "")
            << severityName(finding.severity) << (styled ? "\033[0m" : "") << ' ' << finding.code << ' '
            << printable(finding.message);
        if (!finding.advice.empty())
            out << " (" << printable(finding.advice) << ')';
        out << '\n';
        if (finding.more > 0)
            out << place << ": ... and " << finding.more << " more " << finding.code
                << (finding.node.empty() ? "" : " at ") << printable(finding.node) << '\n';
    }
    for (auto const& [code, count] : written)
        if (count.second > 0)
            out << "... and " << count.second << " more " << code << '\n';
}

void writeFindingsJson(std::ostream& out, std::vector<Finding> const& findings)
{
    // One at a time: a document of them all takes many times the memory.
    out << "{\n  \"findings\": [";
    for (std::size_t i = 0; i < findings.size(); ++i) {
        Finding const& finding = findings[i];
        nlohmann::ordered_json entry = {
            {"file", finding.place.file}, {"line", finding.place.line},  {"column", finding.place.column},
            {"severity", severityName(finding.severity)}, {"code", finding.code}, {"node", finding.node},
            {"message", finding.message}, {"advice", finding.advice}};
        if (finding.more > 0)
            entry["more"] = finding.more;
        if (CheckCode const& code = codeNamed(finding.code); code.fix != Fix::none)
            entry["fix"] = {{"safety", fixName(code.fix)}, {"how", code.how}};
        out << (i == 0 ? "" : ",") << "\n    " << entry.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    out << (findings.empty() ? "],\n" : "\n  ],\n");
    out << "  \"errors\": " << countFindings(findings, Severity::error) << ",\n  \"warnings\": "
        << countFindings(findings, Severity::warning) << ",\n  \"notes\": " << countFindings(findings, Severity::note)
        << ",\n  \"hints\": " << countFindings(findings, Severity::hint) << "\n}\n";
}

void writeCodesMarkdown(std::ostream& out)
{
    out << "# What `zelvan-play check` finds\n\n"
           "Written by `zelvan-play check --codes --markdown`. Each code has its usual severity, and two examples: one\n"
           "that triggers it and one that does not. Elements of lists count from 0: `key[0]` is the first key.\n"
           "Hints are shown with `--hints`. `--severity CODE=LEVEL` changes a severity, `--ignore CODE` leaves a code\n"
           "out, `--only CODE` takes nothing else. An error makes the exit status 1; with `--strict` a warning does,\n"
           "too. A fix is safe when what is played stays the same bit for bit.\n";
    for (CheckCode const& code : checkCodes())
        out << "\n## " << code.code << " (" << severityName(code.severity) << ")\n\n" << code.meaning << ' ' << code.why
            << "\n\n```xml\n" << code.bad << (code.bad.ends_with('\n') ? "" : "\n") << "```\n\nBetter:\n\n```xml\n"
            << code.good << (code.good.ends_with('\n') ? "" : "\n") << "```\n\n"
            << (code.fix == Fix::none ? "" : code.fix == Fix::safe ? "Safe fix: " : "Unsafe fix: ") << code.how << '\n';
}

std::size_t countFindings(std::vector<Finding> const& findings, Severity severity)
{
    std::size_t count = 0;
    for (Finding const& finding : findings)
        if (finding.severity == severity)
            count += 1 + finding.more;
    return count;
}

} // namespace Zelvan::play
