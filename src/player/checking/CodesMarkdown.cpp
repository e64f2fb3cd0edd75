#include "player/checking/Check.h"

#include <ostream>

namespace Zelvan::play {

void writeCodesMarkdown(std::ostream& out)
{
    out << "# What `zelvan-play check` finds\n\n"
           "Written by `zelvan-play check --codes --markdown`. Each code has its usual severity, and two examples: one\n"
           "that triggers it and one that does not. Elements of lists count from 0: `key[0]` is the first key.\n"
           "Hints are shown with `--hints`. `--severity CODE=LEVEL` changes a severity, `--ignore CODE` leaves a code\n"
           "out, `--only CODE` takes nothing else. An error makes the exit status 1; with `--strict` a warning does,\n"
           "too. A fix is safe when what is played stays the same bit for bit.\n";
    for (CheckCode const& code : checkCodes()) {
        out << "\n## " << code.code << " (" << severityName(code.severity) << ")\n\n" << code.meaning << ' ' << code.why;
        if (!code.bad.empty())
            out << "\n\n```xml\n"
                << code.bad << (code.bad.ends_with('\n') ? "" : "\n") << "```\n\nBetter:\n\n```xml\n"
                << code.good << (code.good.ends_with('\n') ? "" : "\n") << "```";
        out << "\n\n"
            << (code.fix == Fix::none       ? ""
                    : code.fix == Fix::safe ? "Safe fix: "
                                            : "Unsafe fix: ")
            << code.how << '\n';
    }
}

} // namespace Zelvan::play
