#include "player/scene/DidYouMean.h"

#include <gtest/gtest.h>
#include <vector>

namespace Zelvan::play::test {
namespace {

TEST(DidYouMean, PutsCaseFirstThenTheFewestErrors)
{
    std::vector<std::string> const fields = {"set_fraction", "key", "keyValue", "KEYVALUES", "value_changed", "zoom"};
    std::pair<char const*, char const*> const cases[] = {
        {"keyvalue", "keyValue"}, // another case is nearer than a letter more
        {"keyValues", "KEYVALUES"},
        {"keyValu", "keyValue"},            // a letter missing,
        {"ozom", "zoom"},                   // swapped,
        {"kez", "key"},                     // wrong,
        {"Zooom", "zoom"},                  // too many
        {"vlaeu_chanegd", "value_changed"}, // three pairs swapped
        {"vlaeu_cahnegd", ""},              // four
        {"KEY", "key"},
        {"keys", "key"},
        {"set_fractoin", "set_fraction"},
        {"ky", ""}, // too short to tell
        {"value", ""},
        {"fraction", ""},
        {"", ""},
        {"key", ""}, // no error at all
    };
    for (auto const& [name, expected] : cases) {
        DidYouMean meant(name);
        for (auto const& field : fields)
            meant.offer(field);
        EXPECT_EQ(meant.nearest(), expected) << name;
    }
    EXPECT_EQ(didYouMean("Zom", fields), "; did you mean \"zoom\"?");
    EXPECT_EQ(didYouMean("lamp", fields), "");
    EXPECT_EQ(didYouMean(std::string(65, 'a'), std::vector{std::string(64, 'a'), std::string(1 << 20, 'a')}), "");
    std::string const last = std::string(63, 'a') + 'b';
    EXPECT_EQ(didYouMean(std::string(64, 'a'), std::vector{last}), "; did you mean \"" + last + "\"?");
}

} // namespace
} // namespace Zelvan::play::test
