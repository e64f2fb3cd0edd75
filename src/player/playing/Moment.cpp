#include "player/playing/Moment.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

namespace Zelvan::play {

namespace {

/// Takes a text apart from its beginning on; what is not as expected is remembered.
class Parts {
public:
    explicit Parts(std::string_view text) : _rest(text) {}

    /// Whether all was as expected and nothing is left.
    bool done() const { return _good && _rest.empty(); }
    bool take(std::string_view any)
    {
        if (_rest.empty() || any.find(_rest.front()) == std::string_view::npos)
            return false;
        _rest.remove_prefix(1);
        return true;
    }
    void expect(std::string_view any) { _good = take(any) && _good; }
    /// A number of just so many digits, and at most so large.
    int number(std::size_t digits, int most)
    {
        int value = -1;
        char const* const first = _rest.data();
        auto const [end, error] = std::from_chars(first, first + std::min(digits, _rest.size()), value);
        _good = _good && error == std::errc() && value >= 0 && value <= most && end == first + digits;
        _rest.remove_prefix(static_cast<std::size_t>(end - first));
        return _good ? value : 0;
    }
    /// Digits behind the point.
    double fraction()
    {
        double value = 0;
        for (double unit = 0.1; !_rest.empty() && _rest.front() >= '0' && _rest.front() <= '9'; unit /= 10) {
            value += (_rest.front() - '0') * unit;
            _rest.remove_prefix(1);
        }
        return value;
    }

private:
    std::string_view _rest;
    bool _good = true;
};

double timeOfDay(Parts& parts)
{
    int const hour = parts.number(2, 23);
    parts.expect(":");
    double seconds = hour * 3600 + parts.number(2, 59) * 60;
    if (parts.take(":"))
        seconds += parts.number(2, 60) + (parts.take(".") ? parts.fraction() : 0);
    if (parts.take("Z"))
        return seconds;
    bool const east = parts.take("+");
    if (east || parts.take("-")) {
        int const offset = parts.number(2, 23) * 60;
        parts.take(":");
        seconds += (east ? -60 : 60) * (offset + parts.number(2, 59));
    }
    return seconds;
}

} // namespace

std::optional<double> momentOf(std::string_view text)
{
    double seconds = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error == std::errc() && end == text.data() + text.size())
        return std::isfinite(seconds) ? std::optional(seconds) : std::nullopt;

    using namespace std::chrono;
    Parts parts(text);
    year const y(parts.number(4, 9999));
    parts.expect("-");
    month const m(static_cast<unsigned>(parts.number(2, 12)));
    parts.expect("-");
    day const d(static_cast<unsigned>(parts.number(2, 31)));
    year_month_day const date{y, m, d};
    double const within = parts.take("T ") ? timeOfDay(parts) : 0;
    if (!parts.done() || !date.ok())
        return {};
    return duration<double>(sys_days(date).time_since_epoch()).count() + within;
}

} // namespace Zelvan::play
