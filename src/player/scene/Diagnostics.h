#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Zelvan::play {

/// Exit statuses of the program.
enum ExitStatus : int { exitFine = 0, exitScene = 1, exitUsage = 2, exitMachine = 3 };

/// "Swing.key is ..." of "Door/Swing.key is ...": what all instances of a PROTO have in common.
std::string_view withoutInstance(std::string_view message);

/// Ends a command: what is wrong, in one line, and the exit status it means. Where there are several reasons, each is
/// a line of its own.
class Failure : public std::runtime_error {
public:
    Failure(ExitStatus status, std::string const& message, std::vector<std::string> reasons = {})
        : std::runtime_error(message), _status(status), _reasons(std::move(reasons))
    {}
    ExitStatus status() const { return _status; }
    std::vector<std::string> const& reasons() const { return _reasons; }

private:
    ExitStatus _status;
    std::vector<std::string> _reasons;
};

/// A place in one of the files a scene is made of; line and column count from 1, 0 when there is none; columns
/// are characters.
struct Place {
    std::string file;
    unsigned line = 0;
    unsigned column = 0;

    /// "file:line:column", as far as known.
    std::string text() const;
};

/// A hint is only shown on request.
enum class Severity : unsigned char { hint, note, warning, error };
char const* severityName(Severity severity);

/// Collects what is wrong with a scene and writes it to a stream as it comes, one printable line each.
/// Equal messages beyond the first few of a kind are counted, not written. Instances of a PROTO share their places in the
/// file: what is said of one of them is not said again of the others ("Door/Swing.key ...", "Gate/Swing.key ...").
class Diagnostics {
public:
    explicit Diagnostics(std::ostream& out, bool strict = false) : _out(out), _strict(strict) {}

    /// `kind` groups messages of the same sort ("bad-value", "bad-route"); --strict turns warnings into errors.
    void report(Severity severity, Place const& place, std::string_view kind, std::string const& message);
    void warning(Place const& place, std::string_view kind, std::string const& message);
    void error(Place const& place, std::string_view kind, std::string const& message);
    /// Writes how many messages were held back.
    void finish();

    /// Takes the messages instead of the stream while set.
    std::function<void(Severity, Place const&, std::string_view kind, std::string const& message)> onMessage;

    unsigned errors() const { return _errors; }

private:
    struct Kind {
        std::string _name;
        unsigned _count = 0;
    };
    std::ostream& _out;
    bool _strict;
    unsigned _errors = 0;
    std::vector<Kind> _kinds;
    std::unordered_set<std::size_t> _said; ///< hashes of place and text
};

} // namespace Zelvan::play
