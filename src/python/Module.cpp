// The compiled half of the Python module: plain values in and out. Classes, documentation and exceptions are Python's.
#include "base/OpenSG.h"
#include "player/playing/PoolLoader.h"
#include "player/scene/Values.h"
#include "python/Scenes.h"

#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <new>
#include <utility>
#include <variant>

namespace py = pybind11;

namespace Zelvan::python {

namespace {

using Floats = py::array_t<float, py::array::c_style | py::array::forcecast>;

struct Interrupted {};

PyObject* failureType = nullptr; ///< _native.Failure(status, message)

[[noreturn]] void raise(play::Failure const& failure)
{
    std::string message = failure.what();
    for (std::string const& reason : failure.reasons())
        message += '\n' + reason;
    // What strangers' files are called need not be UTF-8.
    py::object const text = py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(message.data(), static_cast<Py_ssize_t>(message.size()), "replace"));
    PyErr_SetObject(failureType, py::make_tuple(static_cast<int>(failure.status()), text).ptr());
    throw py::error_already_set();
}

/// Python goes on in other threads, and signals are asked for now and then.
class Away {
public:
    Away() : _thread(PyEval_SaveThread()) {}
    ~Away() { PyEval_RestoreThread(_thread); }
    Away(Away const&) = delete;
    void look()
    {
        PyEval_RestoreThread(_thread);
        bool const interrupted = PyErr_CheckSignals() != 0;
        _thread = PyEval_SaveThread();
        if (interrupted)
            throw Interrupted();
    }

private:
    PyThreadState* _thread;
};

bool atWork = false; ///< guarded by Python's lock

struct AtWork {
    AtWork()
    {
        if (std::exchange(atWork, true)) {
            PyErr_SetString(PyExc_RuntimeError,
                            "zelvan_interpolation is at work in another thread: events are delivered by one "
                            "thread at a time. Wait for it, or use a process for each");
            throw py::error_already_set();
        }
    }
    ~AtWork() { atWork = false; }
    AtWork(AtWork const&) = delete;
};

void requirePool()
{
    static bool const loaded = [] {
        // What a node has to say of an event is told by its value, or by check().
        osg::osgLog().setLogType(osg::LOG_NONE);
        osg::osgLog().setLogLevel(osg::LOG_LOG);
        play::loadPool("");
        return true;
    }();
    (void)loaded;
}

/// work(patience) where other threads may run; what it returns is made into Python's objects by then(result).
template <class Work, class Then>
auto workThen(Work work, Then then)
{
    AtWork const busy;
    try {
        auto result = [&] {
            Away away;
            Patience patience([&away] { away.look(); });
            requirePool();
            return work(patience);
        }();
        return then(result);
    } catch (Interrupted const&) {
        throw py::error_already_set();
    } catch (play::Failure const& failure) {
        raise(failure);
    }
}

/// What a name or message is in Python; a stranger's bytes need not be UTF-8.
py::str text(std::string const& bytes)
{
    return py::reinterpret_steal<py::str>(PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "replace"));
}

/// `numbers` becomes the array's memory. `count` values of `elements` elements; a matrix is four rows of four, as in a file.
template <class Number>
py::array arrayOf(std::vector<Number> numbers, std::size_t count, std::size_t elements, NodePartDataType type)
{
    std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(count)};
    if (play::isList(type))
        shape.push_back(static_cast<py::ssize_t>(elements));
    if (auto const width = play::componentsOf(type).count; width == 16)
        shape.insert(shape.end(), {4, 4});
    else if (width > 1)
        shape.push_back(width);
    auto* const memory = new std::vector<Number>(std::move(numbers));
    py::capsule const owner(memory, [](void* vector) { delete static_cast<std::vector<Number>*>(vector); });
    return py::array_t<Number>(shape, memory->data(), owner);
}

py::array arrayOf(DrivenValues& values)
{
    return arrayOf(std::move(values.numbers), values.fractions, values.elements, values.type);
}

py::tuple placeOf(play::Place const& place)
{
    return py::make_tuple(text(place.file), place.line, place.column);
}

py::object valueOf(Field const& field)
{
    switch (field.dataType()) {
    case SFBoolType: return py::bool_(static_cast<SFBool const&>(field)._value);
    case SFStringType: return text(static_cast<SFString const&>(field)._value);
    case SFTimeType: return py::float_(static_cast<SFTime const&>(field)._value);
    case SFFloatType: return py::float_(static_cast<SFFloat const&>(field)._value);
    default: break;
    }
    std::vector<double> numbers;
    play::appendNumbers(field, numbers);
    std::size_t const elements = field.size();
    if (play::isList(field.dataType()))
        return arrayOf(std::vector<float>(numbers.begin(), numbers.end()), 1, elements, field.dataType())[py::int_(0)];
    return arrayOf(std::vector<float>(numbers.begin(), numbers.end()), 1, 1, field.dataType())[py::int_(0)];
}

py::list findingsOf(std::vector<play::Finding> const& findings)
{
    py::list list;
    for (play::Finding const& f : findings)
        list.append(py::make_tuple(play::severityName(f.severity), f.code, text(f.message), text(f.advice), text(f.node),
                                   placeOf(f.place), f.more));
    return list;
}

/// Samples of a recorded track: an array, or a list of arrays where values differ in length.
py::object samplesOf(play::Track const& track)
{
    std::size_t const events = track.times.size(), width = std::max<std::size_t>(track.ranges.size(), 1);
    auto const array = [&](auto number) -> py::object {
        using Number = decltype(number);
        auto const part = [&](std::size_t from, std::size_t to) {
            return std::vector<Number>(track.numbers.begin() + static_cast<std::ptrdiff_t>(from),
                                       track.numbers.begin() + static_cast<std::ptrdiff_t>(to));
        };
        if (track.starts.empty())
            return arrayOf(part(0, track.numbers.size()), events, 1, track.type);
        bool alike = true;
        for (std::size_t i = 1; i < events; ++i)
            alike = alike && track.starts[i + 1] - track.starts[i] == track.starts[1] - track.starts[0];
        if (alike)
            return arrayOf(part(0, track.numbers.size()), events, events > 0 ? (track.starts[1] - track.starts[0]) / width : 0,
                           track.type);
        py::list list;
        for (std::size_t i = 0; i < events; ++i)
            list.append(arrayOf(part(track.starts[i], track.starts[i + 1]), 1, (track.starts[i + 1] - track.starts[i]) / width,
                                track.type)[py::int_(0)]);
        return list;
    };
    return track.type == SFTimeType ? array(0.0) : array(0.f); // times are the only doubles
}

PlayOptions playOptions(py::dict const& given)
{
    PlayOptions options;
    auto const take = [&](char const* name, auto& value) {
        if (given.contains(name))
            value = given[name].cast<std::remove_reference_t<decltype(value)>>();
    };
    take("duration", options.duration);
    take("from", options.from);
    take("fps", options.fps);
    take("at", options.at);
    take("start", options.start);
    take("start_all", options.startAll);
    take("now", options.now);
    std::vector<std::tuple<std::string, std::string, std::string, double>> inject;
    take("inject", inject);
    for (auto& [node, field, value, time] : inject)
        options.inject.push_back({node, field, value, time});
    return options;
}

std::span<float const> spanOf(Floats const& array)
{
    return {array.data(), static_cast<std::size_t>(array.size())};
}

py::object interpolate(std::string const& type, Floats const& key, Floats const& keyValue, Floats const& fractions, bool binary,
                       std::vector<std::pair<std::string, std::variant<std::string, Floats>>> const& fields)
{
    return workThen(
        [&](Patience& patience) {
            LoneNode node(type);
            if (binary)
                node.searchBinary();
            for (auto const& [name, value] : fields)
                if (auto const* const characters = std::get_if<std::string>(&value))
                    node.setText(name, *characters);
                else
                    node.setNumbers(name, spanOf(std::get<Floats>(value)));
            node.setNumbers("key", spanOf(key));
            node.setNumbers(node.valuesName(), spanOf(keyValue));
            return node.play(spanOf(fractions), patience);
        },
        [](DrivenValues& values) -> py::object { return arrayOf(values); });
}

py::dict nodeOf(play::Scene const& scene, play::SceneNode const& node)
{
    py::dict fields;
    for (Field const* const field : node.node->fields())
        if (field != nullptr && (field->type() & initializeOnly) != 0)
            fields[field->findName()] = valueOf(*field);
    py::dict told;
    told["name"] = text(node.name);
    told["type"] = text(node.typeName);
    told["place"] = placeOf(scene.place(node));
    told["fields"] = fields;
    return told;
}

py::dict describe(std::string const& file, std::string const& root)
{
    return workThen([&](Patience&) { return std::make_unique<ReadScene>(file, root); },
                    [](std::unique_ptr<ReadScene>& read) {
                        play::Scene& scene = *read->scene;
                        py::list interpolators, sensors, routes;
                        for (play::SceneNode const& node : scene.sceneNodes)
                            if (play::isInterpolator(node))
                                interpolators.append(nodeOf(scene, node));
                        for (play::SceneRoute const& route : scene.routes)
                            routes.append(py::make_tuple(text(route.from->name), text(route.fromField), text(route.to->name),
                                                         text(route.toField), placeOf(scene.place(route.where)),
                                                         !route.refused()));
                        play::Clock const clock(scene);
                        for (play::Clock::Sensor const& sensor : clock.sensors()) {
                            py::dict told = nodeOf(scene, *sensor.node);
                            told["waits_for"] = text(clock.waitsFor(sensor));
                            sensors.append(told);
                        }
                        py::dict told;
                        told["interpolators"] = interpolators;
                        told["sensors"] = sensors;
                        told["routes"] = routes;
                        told["findings"] = findingsOf(read->findings);
                        return told;
                    });
}

py::list play_(std::string const& file, std::string const& root, py::dict const& given)
{
    PlayOptions const options = playOptions(given);
    struct Played {
        std::unique_ptr<ReadScene> read;
        std::vector<play::Track> tracks;
    };
    return workThen(
        [&](Patience& patience) {
            Played played{std::make_unique<ReadScene>(file, root), {}};
            played.tracks = playScene(*played.read, options, patience);
            return played;
        },
        [](Played& played) {
            py::list list;
            for (play::Track const& track : played.tracks)
                list.append(py::make_tuple(text(track.node->name), track.field, dataTypeName(track.type), track.leaves,
                                           arrayOf(track.times, track.times.size(), 1, SFTimeType), samplesOf(track)));
            return list;
        });
}

py::list sweep(std::string const& file, std::string const& root, std::vector<float> const& fractions, unsigned steps,
               bool atKeys)
{
    struct Swept {
        std::unique_ptr<ReadScene> read;
        std::vector<SweptTrack> tracks;
    };
    return workThen(
        [&](Patience& patience) {
            Swept swept{std::make_unique<ReadScene>(file, root), {}};
            swept.tracks = sweepScene(*swept.read, fractions, steps, atKeys, patience);
            return swept;
        },
        [](Swept& swept) {
            py::list list;
            for (SweptTrack& track : swept.tracks) {
                std::size_t const count = track.fractions.size();
                list.append(py::make_tuple(text(track.node->name), play::outputOf(*track.node)->findName(),
                                           dataTypeName(track.values.type), true,
                                           arrayOf(std::move(track.fractions), count, 1, SFFloatType), arrayOf(track.values)));
            }
            return list;
        });
}

py::list check_(std::string const& file, std::string const& root, std::set<std::string> const& only,
                std::set<std::string> const& ignore, bool hints)
{
    play::CheckOptions options;
    options.only = only;
    options.ignore = ignore;
    options.hints = hints;
    options.perNode = 0;
    return workThen([&](Patience&) { return check(file, root, options); }, findingsOf);
}

/// What edit(read, patience) makes of a scene.
template <class Edit>
py::tuple edited(std::string const& file, std::string const& root, Edit edit)
{
    struct Done {
        std::unique_ptr<ReadScene> read;
        EditedScene scene;
    };
    return workThen(
        [&](Patience& patience) {
            Done done{std::make_unique<ReadScene>(file, root), {}};
            done.scene = edit(*done.read, patience);
            return done;
        },
        [](Done& done) {
            py::list changes, idle;
            for (play::TrackChange const& c : done.scene.result.changes)
                changes.append(py::make_tuple(text(c.node->name), text(c.node->typeName), c.before, c.after, c.asked,
                                              c.measured.largest, c.measured.fraction, c.angle, text(c.left)));
            for (std::string const& name : done.scene.result.idle)
                idle.append(text(name));
            return py::make_tuple(text(done.scene.text), changes, idle);
        });
}

py::list diff_(std::string const& first, std::string const& second, std::string const& root,
               std::vector<std::string> const& maxError, py::dict const& given)
{
    PlayOptions const options = playOptions(given);
    return workThen(
        [&](Patience& patience) {
            ReadScene a(first, root), b(second, root);
            return diff(a, b, maxError, options, patience);
        },
        [](std::vector<play::TrackDifference> const& differences) {
            constexpr char const* kinds[] = {"only-first", "only-second", "time", "fraction"};
            py::list list;
            for (play::TrackDifference const& d : differences)
                list.append(py::make_tuple(text(d.track), kinds[d.kind], d.differs, d.from, d.largest, d.at, d.allowed, d.angle,
                                           d.keysBefore, d.keysAfter));
            return list;
        });
}

} // namespace

} // namespace Zelvan::python

PYBIND11_MODULE(_native, module)
{
    using namespace Zelvan::python;
    using Zelvan::play::BakeOptions;
    using Zelvan::play::Tolerance;
    failureType = PyErr_NewException("zelvan_interpolation._native.Failure", PyExc_Exception, nullptr);
    module.add_object("Failure", py::reinterpret_borrow<py::object>(failureType));
    module.attr("version") = ZELVAN_VERSION;
    module.def("types", [] {
        return workThen([](Patience&) { return interpolatorTypes(); }, [](auto& names) { return py::cast(names); });
    });
    module.def("interpolate", &interpolate);
    module.def("describe", &describe);
    module.def("play", &play_);
    module.def("sweep", &sweep);
    module.def("check", &check_);
    module.def("reduce",
               [](std::string const& file, std::string const& root, std::vector<std::string> const& maxError, bool free) {
                   return edited(file, root,
                                 [&](ReadScene& read, Patience& patience) { return reduce(read, maxError, free, patience); });
               });
    module.def("bake",
               [](std::string const& file, std::string const& root, std::vector<std::string> const& maxError, bool free,
                  bool atKeys, std::optional<double> rate, bool prune) {
                   return edited(file, root, [&](ReadScene& read, Patience& patience) {
                       return bake(read, BakeOptions{Tolerance(maxError), free, atKeys, rate, prune}, patience);
                   });
               });
    module.def("diff", &diff_);
}
