"""What the Python module computes is what the nodes and the program give; what goes wrong is told as it should be."""

import doctest
import gc
import importlib
import inspect
import json
import os
import resource
import signal
import subprocess
import tempfile
import threading
import time
import unittest

import numpy as np

import zelvan_interpolation as zi

PROGRAM = os.environ["ZELVAN_PLAY"]
EXAMPLES = os.environ["ZELVAN_EXAMPLES"]
CORPUS = os.environ["ZELVAN_CORPUS"]
KEYS = [0, 0.25, 0.5, 0.75, 1]


def program(*arguments, status=0):
    done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True)
    assert done.returncode == status, done.stderr
    return done.stdout


def scene_of(body):
    return f"<X3D><Scene>{body}</Scene></X3D>"


DRIVEN = scene_of("<TimeSensor DEF='Clock'/><ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 10'/>"
                  "<ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Fade' toField='set_fraction'/>")


def numbers_in(text):
    return np.array(text.replace(",", " ").split(), np.float32)


def values_for(name, rng):
    """Key values of a type, and the shape of what it sends: by the types of its fields, three points for each key."""
    fields = {words[1]: words[2] for words in map(str.split, program("types", name).splitlines()) if len(words) > 3 and words[0].isdigit()}
    values, output = fields.get("keyValue", fields.get("easeInEaseOut")), fields.get("value_changed", "SFFloat")
    widths = {"Float": (), "Vec2f": (2,), "Vec3f": (3,), "Color": (3,), "Rotation": (4,), "Matrix4f": (4, 4)}
    points = (3,) if output.startswith("MF") else ()
    numbers = rng.random((len(KEYS), *points, *widths[values[2:]])).astype(np.float32)
    if values == "MFMatrix4f":
        numbers = np.tile(np.eye(4, dtype=np.float32), (len(KEYS), 1, 1))
        numbers[:, 3, :3] = rng.random((len(KEYS), 3))
        numbers[:, 0, 0] += np.arange(len(KEYS), dtype=np.float32)
    return numbers / 2, (*points, *widths[output[2:]])


class Values(unittest.TestCase):
    def test_every_type_gives_the_bits_that_the_program_gives(self):
        listed = [line.split() for line in program("types").splitlines()[1:]]
        creatable = {words[0] for words in listed if "abstract" not in words} - {"TimeSensor"}
        self.assertEqual(set(zi.interpolator_types()), creatable)
        rng = np.random.default_rng(1)
        fractions = np.concatenate([rng.random(200), KEYS, [-1, 2, 0.1, 0.9]]).astype(np.float32)
        for name in zi.interpolator_types():
            values, shape = values_for(name, rng)
            text = " ".join(repr(float(v)) for v in values.ravel())
            field = "easeInEaseOut" if name == "EaseInEaseOut" else "keyValue"
            scene = scene_of(f"<{name} DEF='N' key='{' '.join(map(str, KEYS))}' {field}='{text}'/>")
            with self.subTest(name), tempfile.NamedTemporaryFile("w", suffix=".x3d") as file:
                file.write(scene)
                file.flush()
                for binary in (True, False):  # which differ by a bit at a key, that two intervals hold
                    csv = program("sweep", file.name, "--csv", "-", "--at", ",".join(repr(float(f)) for f in fractions),
                                  "--param", f"binSearchKeyIndex={'true' if binary else 'false'}")
                    played = np.array([numbers_in(" ".join(line.split(",")[3:])) for line in csv.splitlines()[1:]])
                    mine = zi.interpolate(name, KEYS, values, fractions, binary_search=binary)
                    self.assertEqual(mine.shape, (len(fractions), *shape))
                    self.assertEqual(mine.dtype, np.float32)
                    np.testing.assert_array_equal(mine.reshape(len(fractions), -1).view(np.uint32), played.reshape(len(fractions), -1).view(np.uint32))
                swept = zi.Scene(scene).sweep(fractions)[f"N.{'modifiedFraction' if 'Ease' in name else 'value'}_changed"]
                np.testing.assert_array_equal(swept.values, mine)

    def test_other_fields_and_fractions_without_a_value(self):
        turned = np.array([np.eye(4), np.diag([-1, -1, 1, 1])])
        half = {mode: zi.interpolate("TransformationInterpolator", [0, 1], turned, [0.25], mode=mode) for mode in ("matrix", "component")}
        np.testing.assert_allclose(half["matrix"], half["component"], atol=1e-5)
        self.assertGreater(abs(half["component"][0, 0, 1]), 0.5)
        self.assertTrue(np.isnan(zi.interpolate("ScalarInterpolator", [0, 1], [0, 1], [np.nan, 0.5])[0]))
        self.assertTrue(np.isnan(zi.interpolate("ScalarInterpolator", [0, 1], [0, 1], [0.5], enabled=False)).all())
        blocks = zi.interpolate("CoordinateInterpolator", [0, 1], np.zeros((2, 4, 3)), [np.nan, 0.5])
        self.assertEqual(blocks.shape, (2, 4, 3))
        self.assertTrue(np.isnan(blocks[0]).all() and (blocks[1] == 0).all())
        self.assertEqual(zi.interpolate("ColorInterpolator", [0], [1, 0, 0], []).shape, (0, 3))

    def test_no_value_costs_what_a_call_of_python_costs(self):
        fractions = np.linspace(0, 1, 2_000_000, dtype=np.float32)
        best = min(self.seconds(fractions) for _ in range(3))
        self.assertGreater(len(fractions) / best, 5e6)  # a call for each would stay below; bench/interpolate.py measures

    @staticmethod
    def seconds(fractions):
        begin = time.process_time()
        zi.interpolate("ScalarInterpolator", [0, 0.5, 1], [0, 1, 0], fractions)
        return time.process_time() - begin


class Scenes(unittest.TestCase):
    def test_a_scene_plays_as_the_program_does(self):
        for name in ("three-ways", "waving-flag", "eye", "door", "turntable"):
            path = os.path.join(EXAMPLES, name + ".x3d")
            events = [json.loads(line) for line in program("export", path, "--format", "jsonl", "--duration", "2", "--start-all").splitlines()]
            tracks = zi.Scene(path).play(2, start_all=True)
            with self.subTest(name):
                rows = {}
                for event in events:
                    if "time" in event:
                        rows.setdefault(f"{event['node']}.{event['field']}", []).append(event)
                self.assertTrue(rows)
                for track, told in rows.items():
                    self.assertEqual([event["time"] for event in told], tracks[track].times.tolist())
                    value = np.array(told[-1]["value"], np.float32).ravel()
                    np.testing.assert_array_equal(value, np.asarray(tracks[track].values[-1]).ravel())
                at = zi.Scene(path).at([1, 2], start_all=True)
                for track in rows:
                    np.testing.assert_array_equal(at[track][1], tracks[track].values[-1])

    def test_what_a_scene_is_made_of(self):
        scene = zi.Scene(os.path.join(EXAMPLES, "three-ways.x3d"))
        self.assertEqual((len(scene.interpolators), len(scene.sensors), len(scene.routes)), (4, 1, 7))
        self.assertEqual(scene.findings, [])
        linear = {node.name: node for node in scene.interpolators}["Linear"]
        self.assertEqual(linear.fields["keyValue"].shape, (3, 3))
        self.assertGreater(linear.place.line, 1)
        waiting = zi.Scene(DRIVEN).sensors[0]
        self.assertIn("Clock", waiting.waits_for)
        self.assertEqual(zi.Scene(DRIVEN).play(1, 4, start={"Clock": 0.5})["Fade.value_changed"].times.tolist(), [0.5, 0.75, 1])
        self.assertEqual(zi.Scene(DRIVEN).play(1, 4, inject=[("Fade.set_fraction", "0.3", 0.25)])["Fade.value_changed"].values.tolist(),
                         [np.float32(3)])
        self.assertEqual(zi.Scene(DRIVEN).at(0.5), {})

    def test_check_says_what_the_program_says(self):
        looked = 0
        for name in ("key-order.wrl", "loop-jump.wrl", "bad-number.wrl", "route-nowhere.wrl", "undriven.wrl"):
            path = os.path.join(CORPUS, name)
            done = subprocess.run([PROGRAM, "check", path, "--format", "json", "--per-node", "0", "--no-config"], capture_output=True, text=True)
            told = json.loads(done.stdout)
            told = told["findings"] if isinstance(told, dict) else told
            mine = [(f.severity, f.code, f.place.line, f.place.column) for f in zi.check(path)]
            self.assertEqual(mine, [(f["severity"], f["code"], f["line"], f["column"]) for f in told])
            looked += len(mine)
        self.assertGreater(looked, 4)
        self.assertEqual(zi.check(os.path.join(CORPUS, "key-order.wrl"), ignore=["key-order"], only=["key-order"]), [])

    def test_edits_are_those_of_the_program(self):
        path = os.path.join(EXAMPLES, "three-ways.x3d")
        self.assertEqual(zi.bake(path, max_error="0.01", prune=True).text, program("bake", path, "--max-error", "0.01", "--prune"))
        baked = zi.bake(path, rate=25)
        self.assertTrue(any(change.after > change.before for change in baked.changes))
        with tempfile.NamedTemporaryFile("w", suffix=".x3d") as file:
            file.write(baked.text)
            file.flush()
            reduced = zi.reduce(file.name, max_error=["0.1%"])
            self.assertEqual(reduced.text, program("reduce", file.name, "--max-error", "0.1%"))
        self.assertTrue(all(change.largest <= change.allowed for change in reduced.changes if not change.left))
        self.assertTrue(any(change.after < change.before for change in reduced.changes))
        self.assertFalse(any(d.differs for d in zi.diff(path, reduced.text, max_error=1)))
        differing = [d for d in zi.diff(path, baked.text) if d.differs]
        self.assertTrue(differing and all(0 < d.largest for d in differing))


class Errors(unittest.TestCase):
    def test_what_is_wrong_is_told_with_its_place(self):
        cases = [
            (lambda: zi.Scene("<X3D>\n <Scene>\n  <Transform></Scene>"), zi.SceneError, ("<text>", 3), ""),
            (lambda: zi.check("#VRML V2.0 utf8\nTransform {"), zi.SceneError, ("<text>", 2), ""),
            (lambda: zi.Scene("nowhere.x3d"), zi.FileError, ("nowhere.x3d", 0), "no such file"),
            (lambda: zi.Scene("nowhere.x3d"), OSError, ("nowhere.x3d", 0), ""),
            (lambda: zi.interpolate("ScalarInterpolater", [0], [0], [0]), zi.UsageError, ("", 0), 'did you mean "ScalarInterpolator"'),
            (lambda: zi.interpolate("TimeSensor", [0], [0], [0]), ValueError, ("", 0), "no interpolator"),
            (lambda: zi.interpolate("PositionInterpolator", [0], [0, 1], [0]), zi.UsageError, ("", 0), "multiple of 3"),
            (lambda: zi.interpolate("ScalarInterpolator", [], [], [0]), zi.UsageError, ("", 0), "at least one"),
            (lambda: zi.interpolate("SplineScalarInterpolator", [0], [0], [0], close=True), zi.UsageError, ("", 0), '"closed"'),
            (lambda: zi.interpolate("TransformationInterpolator", [0], np.eye(4), [0], mode="fast"), zi.UsageError, ("", 0), '"fast"'),
            (lambda: zi.Scene(DRIVEN).play(start="Clok"), zi.UsageError, ("", 0), "Clok"),
            (lambda: zi.Scene(DRIVEN).play(1e9), zi.UsageError, ("", 0), "frames"),
            (lambda: zi.reduce(DRIVEN, max_error="much"), zi.UsageError, ("", 0), "much"),
            (lambda: zi.reduce(DRIVEN, max_error="Nobody=1"), zi.UsageError, ("", 0), "Nobody"),
            (lambda: zi.bake(DRIVEN, rate=0), zi.UsageError, ("", 0), "rate"),
            (lambda: zi.check(DRIVEN, only=["key-odrer"]), zi.UsageError, ("", 0), "key-odrer"),
        ]
        for number, (call, kind, place, words) in enumerate(cases):
            with self.subTest(number), self.assertRaises(kind) as raised:
                call()
            error = raised.exception
            self.assertEqual((error.file, error.line), place, str(error))
            self.assertIn(words, str(error))
            self.assertNotIn("zelvan-", str(error))

    def test_another_thread_runs_but_does_not_deliver(self):
        said, scene = {}, zi.Scene(DRIVEN)
        fractions = np.linspace(0, 1, 3_000_000, dtype=np.float32)

        def other():
            for name, call in (("values", lambda: zi.interpolate("ScalarInterpolator", [0], [0], [0])), ("scene", scene.play)):
                for _ in range(50):  # now and then it comes between two calls
                    time.sleep(0.01)
                    try:
                        call()
                    except RuntimeError as error:
                        said[name] = str(error)
                        break

        thread = threading.Thread(target=other)
        thread.start()
        while thread.is_alive():
            zi.interpolate("SquadOrientationInterpolator", [0, 0.5, 1], np.eye(3, 4), fractions)
        self.assertIn("one thread at a time", said["values"])
        self.assertIn("belongs to the thread that made it", said["scene"])

    def test_long_work_ends_when_it_is_interrupted(self):
        sensor = scene_of("<TimeSensor DEF='Clock' loop='true'/>")
        keys = " ".join(str(k / 60000) for k in range(60001))
        wild = " ".join(str((k * 7919) % 1009) for k in range(60001))
        large = scene_of(f"<ScalarInterpolator DEF='A' key='{keys}' keyValue='{wild}'/>" * 8)
        fractions = np.linspace(0, 1, 30_000_000, dtype=np.float32)
        amid = []

        def interrupt(*_):  # only where the work has not ended is another call refused
            try:
                zi.interpolate("ScalarInterpolator", [0], [0], [0])
            except RuntimeError as error:
                amid.append(str(error))
            raise KeyboardInterrupt

        self.addCleanup(signal.signal, signal.SIGINT, signal.signal(signal.SIGINT, interrupt))
        for work in (lambda: zi.Scene(sensor).play(130_000, 60),
                     lambda: zi.interpolate("SquadOrientationInterpolator", [0, 0.5, 1], np.eye(3, 4), fractions),
                     lambda: zi.reduce(large, max_error=1e-6)):
            timer = threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT))
            timer.start()
            try:
                work()
                time.sleep(5)
            except KeyboardInterrupt:
                pass
            finally:  # where the work failed no signal hits what comes after
                timer.cancel()
                timer.join()
        self.assertEqual(len(amid), 3, amid)
        self.assertEqual(zi.interpolate("ScalarInterpolator", [0, 1], [0, 2], [0.5])[0], 1)

    def test_nothing_is_left_behind(self):
        def once():
            zi.Scene(DRIVEN).play(1, start="Clock")
            zi.interpolate("CoordinateInterpolator", [0, 1], np.zeros((2, 100, 3)), np.linspace(0, 1, 500))
            zi.reduce(DRIVEN)
            for wrong in ("<X3D>", "#VRML V2.0 utf8\nTransform {"):
                self.assertRaises(zi.SceneError, zi.Scene, wrong)

        def most():
            gc.collect()
            return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss

        for _ in range(100):
            once()
        before = most()
        for _ in range(400):
            once()
        self.assertLess(most() - before, 2000)  # KiB; a scene that is kept takes more than a hundred


class Documentation(unittest.TestCase):
    def test_examples_hold_and_all_that_is_public_has_one(self):
        results = doctest.testmod(zi)
        self.assertEqual(results.failed, 0)
        self.assertGreater(results.attempted, 20)
        os.chdir(os.path.dirname(EXAMPLES))
        readme = doctest.testfile(os.path.abspath("README.md"), module_relative=False)
        self.assertEqual((readme.failed, readme.attempted), (0, 3))
        for name in zi.__all__:
            thing = getattr(zi, name)
            if not (inspect.isclass(thing) and issubclass(thing, zi.Error) and thing is not zi.Error):
                self.assertIn(">>>", thing.__doc__, name)
        for name, method in inspect.getmembers(zi.Scene, inspect.isfunction):
            if not name.startswith("_"):
                self.assertIn(">>>", method.__doc__, name)

    def test_the_hints_name_what_the_compiled_module_has(self):
        native = importlib.import_module("zelvan_interpolation._native")
        with open(os.path.join(os.path.dirname(zi.__file__), "_native.pyi"), encoding="utf-8") as file:
            hinted = {line.split("(")[0].split(":")[0].split()[-1] for line in file if line.startswith(("def ", "class ", "version"))}
        self.assertEqual({name for name in vars(native) if not name.startswith("_")}, hinted)


if __name__ == "__main__":
    unittest.main()
