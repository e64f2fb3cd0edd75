#include "player/drawing/Page.h"
#include "player/drawing/Stages.h"

#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <sstream>

namespace Zelvan::play {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using Values = std::vector<double>;
constexpr double infinity = std::numeric_limits<double>::infinity(), none = std::numeric_limits<double>::quiet_NaN();

/// A recorded track, filled by hand.
struct Recorded {
    std::string const nodeType = "T";
    SceneNode node;
    Track track;

    template <class Value>
    Recorded(char const* name, NodePartDataType type, Values const& times, Value value)
        : node{.name = name, .typeName = nodeType}, track{}
    {
        track.node = &node;
        track.field = "out";
        track.type = type;
        track.times = times;
        track.events = times.size();
        track.starts = {0};
        for (double const time : times) {
            Values const numbers = value(time);
            track.numbers.insert(track.numbers.end(), numbers.begin(), numbers.end());
            track.starts.push_back(track.numbers.size());
            if (unsigned const width = componentsOf(type).count)
                track.largestBlock = std::max(track.largestBlock, numbers.size() / width);
        }
    }
};

/// `count` times from 0 to `to`, both included.
Values spread(std::size_t count, double to)
{
    Values times;
    for (std::size_t i = 0; i < count; ++i)
        times.push_back(to * double(i) / double(count - 1));
    return times;
}

struct GroupedNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

/// Tracks that are unpleasant in one way each.
std::vector<Recorded> oddTracks()
{
    std::vector<Recorded> odd;
    auto const one = [](double t) { return Values{t}; };
    odd.reserve(12);
    odd.emplace_back("</script><script>\"&'\xe2\x80\xa8\xe2\x80\xae\x01\xff", SFFloatType, spread(3, 1), one);
    odd.emplace_back("None", SFFloatType, Values{}, one);
    odd.emplace_back("Single", SFVec3fType, Values{0.5}, [](double) { return Values{1, 2, 3}; });
    odd.emplace_back("Constant", SFColorType, spread(9, 1), [](double) { return Values{1, 1, 1}; });
    odd.emplace_back("Holes", SFVec2fType, spread(9, 1), [](double t) { return Values{t > 0.5 ? none : t, t}; });
    odd.emplace_back("Text", SFStringType, spread(3, 1), [](double) { return Values{}; });
    odd.emplace_back("NoElements", MFColorType, spread(3, 1), [](double) { return Values{}; });
    odd.emplace_back("Growing", MFRotationType, spread(9, 1), [](double t) { return Values(std::size_t(t * 4) * 4, t); });
    odd.emplace_back("Huge", SFTimeType, spread(5, 1), [](double t) { return Values{(t - 0.5) * 3e307}; });
    odd.emplace_back("Tiny", SFFloatType, spread(5, 1), [](double t) { return Values{t * 1e-320}; });
    odd.emplace_back("Singular", SFMatrix4fType, spread(3, 1), [](double) { return Values(16, 0.); });
    odd.emplace_back("Backwards", SFFloatType, Values{1, none, 0.5, 0.5, 0}, one);
    return odd;
}

TEST(Pictures, OddTracksGiveTheSameCleanFilesInEveryLocale)
{
    std::vector<Recorded> const odd = oddTracks();
    std::vector<Curve> curves;
    for (Recorded const& recorded : odd)
        curves.push_back({&recorded.track, {0, 0.25, 0.25, 0.75, 9}, {0.5}});
    PictureOptions const options{"a < b & \"c\"", "time (s)"};
    auto const written = [&](auto writer, std::locale const& locale) {
        std::ostringstream out;
        out.imbue(locale);
        writer(out, curves, options);
        return out.str();
    };
    std::locale const grouped(std::locale::classic(), new GroupedNumbers);
    std::string const svg = written(writeSvg, std::locale::classic());
    std::string const html = written(writeHtml, std::locale::classic());
    std::setlocale(LC_ALL, "de_DE.UTF-8"); // where it is installed; the streams' locale below always is
    EXPECT_EQ(written(writeSvg, grouped), svg);
    EXPECT_EQ(written(writeHtml, grouped), html);
    std::setlocale(LC_ALL, "C");

    pugi::xml_document document;
    ASSERT_TRUE(document.load_buffer(svg.data(), svg.size()));
    EXPECT_STREQ(document.child("svg").child("title").child_value(), options.title.c_str());
    pugi::xpath_node_set const tracks = document.select_nodes("//g[@class='track']");
    ASSERT_EQ(tracks.size(), odd.size());
    EXPECT_STREQ(tracks[0].node().child_value("title"),
                 "</script><script>\"&'\xe2\x80\xa8\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd.out");
    for (char const* const attribute : {"//@d", "//@x", "//@y", "//@width", "//@height"})
        for (pugi::xpath_node const& found : document.select_nodes(attribute))
            EXPECT_THAT(found.attribute().value(), Not(testing::AnyOf(HasSubstr("n"), HasSubstr("e"), HasSubstr(","))));
    // Three keys and one seam in each panel; the key outside of what was recorded is in none.
    for (pugi::xpath_node const& track : tracks) {
        auto const marks = [&](char const* classes) {
            std::string d, query = ".//path[@class='" + std::string(classes) + "']";
            for (pugi::xpath_node const& path : track.node().select_nodes(query.c_str()))
                d += path.node().attribute("d").value();
            return std::count(d.begin(), d.end(), 'M');
        };
        EXPECT_GT(marks("seam"), 0) << track.node().child_value("title");
        EXPECT_EQ(marks("key"), 3 * marks("seam")) << track.node().child_value("title");
    }

    auto const count = [&](std::string const& what) {
        std::size_t found = 0;
        for (std::size_t at = html.find(what); at != std::string::npos; at = html.find(what, at + 1))
            ++found;
        return found;
    };
    EXPECT_EQ(count("<script"), odd.size() + 3); // the data of each track, their times, the library and the page's own
    EXPECT_EQ(count("</script"), odd.size() + 3);
    std::string const png = written(writePng, std::locale::classic());
    ASSERT_TRUE(png.starts_with("\x89PNG\r\n") && png.size() > 20'000) << png.size();
    for (std::size_t at : {16, 20}) { // its width and its height, in both of which a unit is two pixels
        auto const byte = [&](std::size_t i) { return std::uint32_t(static_cast<unsigned char>(png[at + i])); };
        EXPECT_EQ(byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3),
                  2 * document.child("svg").attribute(at == 16 ? "width" : "height").as_uint());
    }
    EXPECT_THAT(html, testing::AllOf(HasSubstr("&lt;/script&gt;&lt;script&gt;&quot;&amp;&#39;"), HasSubstr("Copyright (c)")));
}

TEST(Pictures, ShowWhatTheyAreToldAndNothingOfWhatIsFlat)
{
    Recorded const flat("Mover", SFMatrix4fType, spread(20, 1),
                        [](double t) { return Values{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, t, 2, -3, 1}; });
    Curve curve{&flat.track,
                {0.5},
                {},
                {"Clock <TimeSensor>"},
                {"Ball.translation"},
                "door.x3d:3:4",
                {{"warning", "key-order", "keys & \"more\"", "sort them", {0.25}}}};
    PictureOptions options{"t", "time (s)"};
    options.waiting = {"TimeSensor Other waits for <x>"};
    for (auto const writer : {writeSvg, writeHtml}) {
        std::ostringstream out;
        writer(out, {curve}, options);
        EXPECT_THAT(out.str(),
                    testing::AllOf(HasSubstr("Clock &lt;TimeSensor&gt;"), HasSubstr("Ball.translation"),
                                   HasSubstr("door.x3d:3:4"), HasSubstr("key-order"), HasSubstr("keys &amp; &quot;more"),
                                   HasSubstr("waits for &lt;x&gt;"), HasSubstr("scale x 1"), HasSubstr("class=\"found\""),
                                   Not(HasSubstr(">scale factors<"))));
        std::ostringstream still;
        writer(still, {}, options);
        EXPECT_THAT(still.str(), testing::AllOf(HasSubstr("Nothing moves."), HasSubstr("waits for &lt;x&gt;")));
    }
    Samples const samples(flat.track);
    std::vector<std::string> facts;
    std::vector<Panel> const panels = panelsOf(samples, {}, "time (s)", facts);
    auto const path = pathOf(samples, panels[0].lines, {}, {});
    EXPECT_THAT(path.notes.back(), HasSubstr("from the front"));
}

/// No side of a path is a mirror image: across x up is what comes to the viewer.
TEST(Pictures, PathsAreSeenFromTheNamedSide)
{
    for (unsigned left = 0; left < 3; ++left) {
        Recorded const moved("Mover", SFVec3fType, spread(9, 1), [&](double t) {
            Values point{t, t * t, 1 - t * t * t};
            point[left] = 4;
            return point;
        });
        Samples const samples(moved.track);
        std::vector<std::string> facts;
        std::vector<Panel> const panels = panelsOf(samples, {}, "time (s)", facts);
        PlanePath const path = pathOf(samples, panels[0].lines, {0.5}, {});
        double across[3] = {}, up[3] = {};
        across[path.axes[0]] = path.signs[0];
        up[path.axes[1]] = path.signs[1];
        unsigned const next = (left + 1) % 3, after = (left + 2) % 3;
        EXPECT_EQ(across[next] * up[after] - across[after] * up[next], 1) << left; // the axis that is left out, positive
        EXPECT_THAT(path.notes.back(), HasSubstr(left == 0 ? "from the right" : left == 1 ? "from above" : "from the front"));
        ASSERT_EQ(path.keys.size(), 1u);
        EXPECT_NEAR(path.keys[0][0], path.signs[0] * moved.track.numbers[4 * 3 + path.axes[0]], 1e-12);
    }
}

/// A path of more points than are drawn keeps the outermost of them and where it is broken.
TEST(Pictures, PathsOfManyPointsKeepTheirShape)
{
    for (std::size_t const size : {2000, 2400}) {
        Values const times = spread(size, double(size - 1));
        Recorded const moved("Mover", SFVec2fType, times, [](double t) {
            return Values{t == 1403 ? none : t == 1201 ? 9. : 5., t == 1302 ? -9. : 1.};
        });
        Samples const samples(moved.track);
        std::vector<std::string> facts;
        std::vector<Panel> const panels = panelsOf(samples, {}, "time (s)", facts);
        std::vector<PlanePath::Point> const points = pathOf(samples, panels[0].lines, {}, {}).points;
        EXPECT_EQ(points.size() == size, size == 2000);
        EXPECT_LE(points.size(), size == 2000 ? size : 1100);
        for (PlanePath::Point const& kept : {PlanePath::Point{9, 1}, PlanePath::Point{5, -9}})
            EXPECT_THAT(points, testing::Contains(kept));
        EXPECT_TRUE(std::ranges::any_of(points, [](auto const& point) { return std::isnan(point[0]) && point[1] == 1; }));
    }
}

TEST(Pictures, ElementsOfBlocksFitTheirRoom)
{
    for (std::size_t const size : {2, 50, 1000}) {
        Recorded const block("Block", MFVec2fType, spread(100, 1), [&](double t) {
            Values numbers;
            for (std::size_t i = 0; i < size; ++i)
                numbers.insert(numbers.end(), {double(i), t});
            return numbers;
        });
        for (std::size_t const most : {500, 5000}) {
            Elements const elements = elementsOf(Samples(block.track), most);
            EXPECT_EQ(elements.numbers.size(), elements.times.size() * elements.count * 2);
            EXPECT_LE(elements.numbers.size(), most);
            EXPECT_GE(elements.numbers.size(), std::min(size * 200, most / 2));
            EXPECT_EQ(elements.numbers[2], double(elements.stride)) << "the second element that is kept";
        }
    }
    std::vector<Recorded> const odd = oddTracks();
    EXPECT_EQ(elementsOf(Samples(odd[7].track), 5000).count, 0u) << "of rotations";
}

TEST(Pictures, ThinnedCurvesKeepLeastGreatestAndGapOfEveryColumn)
{
    std::mt19937 engine(5);
    auto const below = [&engine](unsigned n) { return engine() % n; };
    constexpr std::size_t columns = 7;
    constexpr double gap = 1e9;
    for (unsigned round = 0; round < 300; ++round) {
        Panel panel;
        panel.lines.resize(1 + round % 2);
        for (unsigned left = 14 + below(61); left > 0; --left) {
            panel.times.push_back((panel.times.empty() ? 0 : panel.times.back()) + below(3));
            for (Line& line : panel.lines)
                line.values.push_back(below(round % 3 == 0 ? 1000 : 8) == 0 ? none : below(9));
        }
        Span const axis{0, panel.times.back() + 1};
        auto const inColumn = [&](Panel const& of, std::size_t line, std::size_t column) {
            Values values;
            for (std::size_t i = 0; i < of.times.size(); ++i)
                if (double const value = of.lines[line].values[i]; std::size_t(of.times[i] / axis.width() * columns) == column)
                    values.push_back(drawable(value) ? value : gap);
            return values;
        };
        Panel const whole = panel;
        ASSERT_EQ(thin(panel, axis, columns), whole.times.size() > 14) << round;
        if (whole.times.size() == 14)
            continue;
        for (std::size_t at = 0; at < panel.lines.size() * columns; ++at) {
            Values thinned = inColumn(panel, at / columns, at % columns), expected;
            Values const all = inColumn(whole, at / columns, at % columns);
            auto const least = std::ranges::min_element(all);
            auto const most = std::ranges::max_element(all, {}, [](double v) { return v == gap ? -1 : v; });
            auto const hole = std::find(all.rbegin(), all.rend(), gap);
            for (auto value = all.begin(); value != all.end(); ++value)
                if (all.size() <= 2 || value == least || value == most || value + 1 == hole.base())
                    expected.push_back(*value);
            // Runs of one value are one.
            for (Values* const list : {&thinned, &expected})
                list->erase(std::unique(list->begin(), list->end()), list->end());
            EXPECT_EQ(thinned, expected) << "round " << round << ", line and column " << at;
        }
    }
}

TEST(Pictures, ColoursGoStraightFromSampleToSample)
{
    constexpr std::uint32_t hole = Strip::none;
    Strip const strip{{1, 2, 3, 4, 6}, {{0x000000, 0xff8000, hole, 0x102030, 0x0a3040}}};
    std::vector<std::uint32_t> found;
    for (double const time : {0.9, 1., 1.5, 2., 2.5, 3., 3.9, 4., 5., 6., 7.})
        found.push_back(strip.at(0, time));
    EXPECT_THAT(found, ElementsAre(hole, 0, 0x804000, 0xff8000, hole, hole, hole, 0x102030, 0x0d2838, 0x0a3040, hole));
    EXPECT_EQ((Strip{{1}, {{5}}}.at(0, 9)), 5u) << "a single sample is everywhere";
}

} // namespace
} // namespace Zelvan::play
