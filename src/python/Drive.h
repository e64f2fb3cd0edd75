#pragma once

#include "base/Context.h"
#include "base/Fields.h"
#include "base/NodeNameSpace.h"
#include "base/NodeType.h"

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace Zelvan::python {

/// Asked now and then by long work, whether it should go on; throws where it should not.
class Patience {
public:
    explicit Patience(std::function<void()> look) : _look(std::move(look)) {}
    /// Looks when it has been a while.
    void operator()()
    {
        if (auto const now = std::chrono::steady_clock::now(); now - _last > std::chrono::milliseconds(50)) {
            _last = now;
            _look();
        }
    }

private:
    std::function<void()> _look;
    std::chrono::steady_clock::time_point _last = std::chrono::steady_clock::now();
};

/// What a field sent, one value for each fraction: NaN where it sent nothing.
struct DrivenValues {
    NodePartDataType type = SFFloatType;
    std::size_t fractions = 0;
    std::size_t elements = 1; ///< of each value; a list has as many as belong to a key
    std::vector<float> numbers;
};

/// Gives a live interpolator one fraction after the other.
DrivenValues drive(Node& node, Field& output, std::span<float const> fractions, Patience& patience);

/// An interpolator of its own, of no scene.
class LoneNode {
public:
    /// Throws Failure for a type that is no interpolator, with what was meant.
    explicit LoneNode(std::string const& type);
    ~LoneNode();
    LoneNode(LoneNode const&) = delete;
    LoneNode& operator=(LoneNode const&) = delete;

    void searchBinary();
    /// Throws Failure for fields that there are not, and for what is no value of one.
    void setText(std::string const& field, std::string const& text);
    void setNumbers(std::string const& field, std::span<float const> numbers);
    /// The field that holds the values: keyValue, or easeInEaseOut.
    char const* valuesName() const;
    DrivenValues play(std::span<float const> fractions, Patience& patience);

private:
    Field& settable(std::string const& field) const;

    Context _context;
    NodeNameSpace _nodes{_context};
    Node* _node = nullptr;
};

/// The names of the types that interpolate() takes.
std::vector<std::string> interpolatorTypes();

} // namespace Zelvan::python
