#include "player/commands/Checking.h"

#include "player/checking/Suppressions.h"
#include "player/commands/Playing.h"
#include "player/editing/Fixes.h"
#include "player/reading/SceneReader.h"

#include <cstdio>
#include <iostream>

namespace Zelvan::play {

namespace {

std::string fileName(std::string const& file)
{
    return file == "-" ? "<stdin>" : file;
}

// A scene that cannot be read is a finding, too. The message begins with the place as far as it is known.
Finding unreadable(std::string const& file, std::string message)
{
    Place place{fileName(file)};
    std::string const error = ": error: ";
    if (auto const at = message.find(error); at != std::string::npos) {
        std::string const before = message.substr(0, at);
        unsigned line = 0, column = 0;
        auto const second = before.rfind(':');
        auto const first = second == 0 || second == std::string::npos ? second : before.rfind(':', second - 1);
        if (first != std::string::npos && std::sscanf(before.c_str() + first, ":%u:%u", &line, &column) == 2)
            place = {before.substr(0, first), line, column};
        message.erase(0, at + error.size());
    } else if (message.starts_with(place.file + ": ")) {
        message.erase(0, place.file.size() + 2);
    }
    return {Severity::error, kinds::badXml, place, "", message, ""};
}

} // namespace

ReaderFindings::ReaderFindings(Diagnostics* shown) : _diagnostics(std::cerr)
{
    _diagnostics.onMessage = [this, shown](Severity severity, Place const& place, std::string_view kind,
                                           std::string const& text) {
        if (shown != nullptr)
            shown->report(severity, place, kind, text);
        add({severity, std::string(kind), place, "", text, ""});
    };
}

void ReaderFindings::add(Finding finding)
{
    constexpr std::size_t most = 1000; // of a kind; the others are counted
    auto& [count, last] = _kinds.try_emplace(finding.code).first->second;
    // Each instance of a PROTO, each Inline of a file has the faults of its body anew.
    if (count < most && !_told.insert(finding.code + finding.place.text() + finding.message).second)
        return;
    if (++count > most) {
        ++_findings[last].more;
        return;
    }
    last = _findings.size();
    _findings.push_back(std::move(finding));
}

std::string textOf(Finding const& finding)
{
    return finding.message + (finding.advice.empty() ? "" : " (" + finding.advice + ')');
}

Finding notChecked(std::string const& file, std::string const& why)
{
    std::string const begin = fileName(file) + ": ";
    return {Severity::error, "not-checked", {fileName(file)}, "", why.starts_with(begin) ? why.substr(begin.size()) : why, ""};
}

CheckedFile checkFile(Session const& session, std::string const& file, ReadLimits const& limits, CheckOptions const& options)
{
    ReaderFindings read;
    CheckedFile checked;
    std::unique_ptr<Scene> scene;
    try {
        scene = openScene(session, file, limits, read.diagnostics());
    } catch (Failure const& failure) {
        if (failure.status() == exitUsage)
            throw;
        if (failure.status() == exitScene)
            read.add(unreadable(file, failure.what()));
        else {
            read.add(notChecked(file, failure.what()));
            checked.failed = true;
        }
        checked.findings = checkUnread(read.take(), options);
        return checked;
    }
    checked.files = scene->fileNames;
    checked.findings = checkWithSuppressions(*scene, read.take(), options);
    proposeFixes(*scene, checked.findings, options, limits.bytes);
    return checked;
}

} // namespace Zelvan::play
