#include "player/Recording.h"

#include "base/Rotation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Zelvan::play {

void Range::add(double value)
{
    if (std::isnan(value))
        return;
    if (!any) {
        low = high = value;
        any = true;
    } else if (value < low) {
        low = value;
    } else if (value > high) {
        high = value;
    }
}

namespace {

NodeType& tapType()
{
    static NodeTypeNameSpace own;
    static NodeType type(own, "Tap", "zelvan-play", nullptr, nullptr, nullptr, "", nullptr, "", "", "", false, false,
                         nullptr, nullptr, nullptr, nullptr, 0);
    return type;
}

NodePartDesc const& tapDesc()
{
    static NodePartDesc const desc(noFieldIndex, NodePart::_nullMask, inputOnly, SFFloatType, 1, "tap", nullptr, nullptr,
                                   nullptr, "", 0);
    return desc;
}

std::size_t derivedCount(NodePartDataType type)
{
    return type == SFColorType ? 1 : type == SFMatrix4fType ? 2 : 0;
}

void addDerived(Track& track, std::vector<double> const& n)
{
    auto const at = [&n](std::size_t i) { return static_cast<float>(n[i]); };
    if (track.type == SFColorType) {
        float hue, saturation, value;
        osg::Color3<float>(at(0), at(1), at(2)).getValuesHSV(hue, saturation, value);
        if (saturation > 0)
            track.derived[0].add(hue);
    } else if (track.type == SFMatrix4fType) {
        osg::Matrix matrix, rotation, stretch, axes;
        for (osg::UInt32 c = 0; c < 4; ++c)
            for (osg::UInt32 r = 0; r < 4; ++r)
                matrix[c][r] = c == 3 && r < 3 ? 0.f : at(4 * c + r);
        float determinant;
        osg::Vec3f scale;
        matrix.polarDecompose(rotation, stretch, determinant);
        bool const mirrored = determinant < 0;
        if (mirrored)
            rotation.negate();
        stretch.spectralDecompose(axes, scale);
        osg::Quaternion quaternion;
        quaternion.setValue(rotation);
        track.derived[0].add(Rotation(quaternion).angle());
        for (osg::UInt32 c = 0; c < 3; ++c)
            track.derived[1].add(mirrored ? -scale[c] : scale[c]);
    }
}

} // namespace

// Listens at the end of a route of its own, so that recording is an event like any other.
class Recorder::Tap : public Node {
public:
    Tap(Recorder& recorder, Track& track, Field& source)
        : Node(tapType(), recorder._scene.nodes(), nullptr), _recorder(recorder), _track(track),
          _field(makeField(source.dataType()))
    {
        _field->_node = this;
        _field->_desc = &tapDesc();
        _state = live;
        std::string error;
        Route::add(source, *_field, error);
    }
    void fieldChanged(Field& field, TimeStamp const& timeStamp, Field*) override
    {
        if (_recorder.only == nullptr || _recorder.only == _track.node)
            _recorder.record(_track, timeStamp, field);
    }

private:
    Recorder& _recorder;
    Track& _track;
    std::unique_ptr<Field> _field;
};

Recorder::Recorder(Scene& scene, Options options) : _scene(scene), _options(options)
{
    auto const track = [this](SceneNode const& node, Field const& field, bool leaves) -> Track& {
        Track& added = _tracks.emplace_back();
        added.node = &node;
        added.field = field.findName();
        added.type = field.dataType();
        added.leaves = leaves;
        added.source = &field;
        added.ranges.resize(componentsOf(added.type).count);
        added.starts.push_back(0);
        added.derived.resize(derivedCount(added.type));
        added.outline.resize(_options.outlineSteps * added.ranges.size(), std::numeric_limits<float>::quiet_NaN());
        return added;
    };
    for (SceneNode const& node : scene.sceneNodes)
        if (Field* const output = outputOf(node)) {
            Track& added = track(node, *output, true);
            _outputs[&node] = &added;
            _taps.push_back(std::make_unique<Tap>(*this, added, *output));
        }
    if (options.arrivals)
        scene.onArrival = [this, track](SceneNode const& node, Field const& field, TimeStamp const& timeStamp) {
            if (only != nullptr)
                return;
            Track*& known = _arrivals[&field];
            if (known == nullptr)
                known = &track(node, field, false);
            record(*known, timeStamp, field);
        };
}

Recorder::~Recorder()
{
    _scene.onArrival = {};
}

Track* Recorder::trackOf(SceneNode const& node)
{
    auto const found = _outputs.find(&node);
    return found == _outputs.end() ? nullptr : found->second;
}

void Recorder::record(Track& track, double time, Field const& field)
{
    if (paused)
        return;
    ++_events;
    ++track.events;
    if (_options.statistics || _options.keepSamples) {
        _scratch.clear();
        appendNumbers(field, _scratch);
        std::size_t const width = track.ranges.size();
        if (width != 0) {
            for (std::size_t i = 0; i + width <= _scratch.size(); i += width)
                for (std::size_t c = 0; c < width; ++c)
                    track.ranges[c].add(_scratch[i + c]);
            track.largestBlock = std::max(track.largestBlock, _scratch.size() / width);
            addDerived(track, _scratch);
            if (!track.outline.empty() && _scratch.size() >= width) {
                double const length = _options.axisEnd - _options.axisBegin;
                double const share = length > 0 ? (time - _options.axisBegin) / length : 0;
                auto const step = static_cast<std::size_t>(
                    std::clamp(share * _options.outlineSteps, 0.0, _options.outlineSteps - 1.0));
                std::copy_n(_scratch.begin(), width, track.outline.begin() + static_cast<std::ptrdiff_t>(step * width));
            }
        }
        if (_options.keepSamples) {
            track.times.push_back(time);
            track.numbers.insert(track.numbers.end(), _scratch.begin(), _scratch.end());
            track.starts.push_back(track.numbers.size());
        }
    }
    if (onEvent)
        onEvent(track, time, field);
}

} // namespace Zelvan::play
