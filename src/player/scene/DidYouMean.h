#pragma once

#include <string>
#include <string_view>

namespace Zelvan::play {

/// Finds what a misspelled name was meant to be: the candidate that differs in upper and lower case only, else the
/// one with the fewest letters that are wrong, missing, too many or swapped, where these are few for its length.
/// The first of equally near ones wins.
class DidYouMean {
public:
    explicit DidYouMean(std::string_view name);

    /// Costs little for a candidate that is far away.
    void offer(std::string_view candidate);
    /// The name itself; empty when no candidate is near.
    std::string const& nearest() const { return _nearest; }
    /// `; did you mean "keyValue"?`, to be appended to a message; empty when no candidate is near.
    std::string text() const;

private:
    std::string_view _name;
    std::string _nearest;
    std::size_t _least; ///< more errors than this are too many
};

/// The same for a range of strings.
template <class Candidates>
std::string didYouMean(std::string_view name, Candidates const& candidates)
{
    DidYouMean meant(name);
    for (auto const& candidate : candidates)
        meant.offer(candidate);
    return meant.text();
}

} // namespace Zelvan::play
