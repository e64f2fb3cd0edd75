"""X3D interpolators and the animation of X3D scenes, as numpy arrays.

The values are those of the node types of libzelvanInterpolationNodePool, bit for bit: what is computed here is computed
by their nodes.

    >>> import zelvan_interpolation as zi
    >>> zi.interpolate("ScalarInterpolator", [0, 0.5, 1], [0, 10, 0], [0.25, 0.5, 0.75])
    array([ 5., 10.,  5.], dtype=float32)

Scenes are files (X3D XML, ClassicVRML, VRML97) or texts. Events are delivered by one thread at a time: while one works,
others run, but their calls to this module raise RuntimeError. A Scene belongs to the thread that made it.
"""

from __future__ import annotations

import contextlib
import os
import re
import tempfile
import threading
from dataclasses import dataclass, field
from typing import Any, Iterator, Mapping, Optional, Sequence, Union

import numpy as np

from . import _native

__all__ = ["Change", "Difference", "Edited", "Error", "FileError", "Finding", "Node", "Place", "Route", "Scene", "SceneError", "Track",
           "UsageError", "bake", "check", "diff", "interpolate", "interpolator_types", "reduce"]
__version__ = _native.version

PathOrText = Union[str, "os.PathLike[str]"]
Start = Union[str, Sequence[str], Mapping[str, float]]
MaxError = Union[str, float, Sequence[Union[str, float]]]


@dataclass(frozen=True)
class Place:
    """A place in a file; line and column count from 1, 0 where there is none. The file of a text is "<text>".

    >>> str(Place("door.x3d", 3, 12))
    'door.x3d:3:12'
    """

    file: str
    line: int = 0
    column: int = 0

    def __str__(self) -> str:
        return self.file + (f":{self.line}:{self.column}" if self.line else "")


class Error(Exception):
    """What is wrong, and where: `file`, `line` and `column` are "", 0 and 0 where that is no place in a scene.

    >>> try:
    ...     Scene("<X3D><Scene>")
    ... except Error as error:
    ...     print(error.file, error.line)
    <text> 1
    """

    def __init__(self, message: str, place: Place = Place("")) -> None:
        super().__init__(message)
        self.message = message
        self.file, self.line, self.column = place.file, place.line, place.column


class SceneError(Error):
    """A scene cannot be read or played: its text is at fault."""


class UsageError(Error, ValueError):
    """An argument is none that can be used."""


class FileError(Error, OSError):
    """A file cannot be read, or the library of nodes cannot be loaded."""


@contextlib.contextmanager
def _translated(shown: Mapping[str, str] = {}) -> Iterator[None]:
    try:
        yield
    except _native.Failure as failure:
        status, message = failure.args
        for path, name in shown.items():
            message = message.replace(path, name)
        found = re.match(r"(.*?)(?::(\d+):(\d+))?: (?:error: )?(.*)", message, re.DOTALL)
        place = Place(found[1], int(found[2] or 0), int(found[3] or 0)) if found and status != 2 else Place("")
        raise {1: SceneError, 3: FileError}.get(status, UsageError)(message, place) from None


@contextlib.contextmanager
def _opened(scene: PathOrText) -> Iterator[tuple[str, Mapping[str, str]]]:
    """The scene's file, and how messages call files that a text was written to."""
    text = scene if isinstance(scene, str) and ("<" in scene or "\n" in scene or scene.startswith(("#VRML", "#X3D"))) else None
    if text is None:
        path = os.fspath(scene)
        if not os.path.exists(path):
            raise FileError(f"{path}: there is no such file", Place(path))
        yield path, {}
        return
    with tempfile.TemporaryDirectory(prefix="zelvan-") as folder:
        path = os.path.join(folder, "text")
        with open(path, "w", encoding="utf-8", newline="") as file:
            file.write(text)
        yield path, {path: "<text>"}


def _place(place: tuple[str, int, int], shown: Mapping[str, str]) -> Place:
    return Place(shown.get(place[0], place[0]), place[1], place[2])


def interpolator_types() -> list[str]:
    """The node types that interpolate() takes.

    >>> "ColorInterpolator" in interpolator_types()
    True
    """
    with _translated():
        return _native.types()


def interpolate(type: str, key: Any, key_value: Any, fractions: Any, *, binary_search: bool = False, **fields: Any) -> np.ndarray:
    """The values that a node of that type sends for all fractions, in their order.

    `key` are numbers in rising order. The shapes of `key_value` (or as many numbers in any shape) and of the result, for n
    fractions, k keys, and p points that belong to each key:

        ScalarInterpolator, SplineScalarInterpolator, EaseInEaseOut       (k,), of EaseInEaseOut (k, 2)   (n,)
        PositionInterpolator2D, SplinePositionInterpolator2D              (k, 2)                          (n, 2)
        PositionInterpolator(3D), SplinePositionInterpolator(3D)          (k, 3)                          (n, 3)
        ColorInterpolator (red, green, blue)                              (k, 3)                          (n, 3)
        OrientationInterpolator, SquadOrientationInterpolator
            (axis x, y, z, and the angle in radians)                      (k, 4)                          (n, 4)
        VectorInterpolator                                                (k, p)                          (n, p)
        CoordinateInterpolator2D                                          (k, p, 2)                       (n, p, 2)
        CoordinateInterpolator(3D), NormalInterpolator                    (k, p, 3)                       (n, p, 3)
        TransformationInterpolator (four rows of four, as in a file:
            the translation is m[3, :3])                                  (k, 4, 4)                       (n, 4, 4)

    Further fields of the type are given by name, as in `mode="component"`. `binary_search` finds keys by halving
    the list, which pays for many keys and fractions in no order. Where a node sends nothing (a fraction that is NaN, keys
    that are out of order) the value is NaN.

    >>> interpolate("OrientationInterpolator", [0, 1], [[0, 1, 0, 0], [0, 1, 0, 3]], [0.5])
    array([[0. , 1. , 0. , 1.5]], dtype=float32)
    """
    keys = np.ascontiguousarray(key, np.float32)
    values = np.ascontiguousarray(key_value, np.float32)
    if keys.size == 0 or values.size == 0:
        raise UsageError("key and key_value: expected at least one number, found none")
    texts: list[tuple[str, Union[str, np.ndarray]]] = []
    for name, value in fields.items():
        if isinstance(value, (bool, np.bool_)):
            value = "true" if value else "false"
        texts.append((name, value if isinstance(value, str) else np.ascontiguousarray(value, np.float32)))
    with _translated():
        return _native.interpolate(type, keys, values, np.ascontiguousarray(fractions, np.float32).ravel(), binary_search, texts)


@dataclass(frozen=True)
class Node:
    """An interpolator or a TimeSensor of a scene.

    >>> scene = Scene("<X3D><Scene><ScalarInterpolator DEF='Fade' key='0 1' keyValue='2 4'/></Scene></X3D>")
    >>> scene.interpolators[0].fields["keyValue"]
    array([2., 4.], dtype=float32)
    """

    name: str  #: DEF name, or "Type#3" of a node without
    type: str
    place: Place
    fields: Mapping[str, Any] = field(repr=False)  #: by name: numbers, bool, str, or arrays
    waits_for: str = ""  #: what a sensor that does not run at the opening waits for


@dataclass(frozen=True)
class Route:
    """A route of a scene.

    >>> str(Route("Clock", "fraction_changed", "Fade", "set_fraction", Place("door.x3d", 9, 3), True))
    'Clock.fraction_changed -> Fade.set_fraction'
    """

    from_node: str
    from_field: str
    to_node: str
    to_field: str
    place: Place
    connected: bool  #: False where it was refused, which the scene's findings tell

    def __str__(self) -> str:
        return f"{self.from_node}.{self.from_field} -> {self.to_node}.{self.to_field}"


@dataclass(frozen=True)
class Track:
    """What a field sent, or got: one value for each of the times.

    >>> scene = Scene("<X3D><Scene><ScalarInterpolator DEF='Fade' key='0 1' keyValue='2 4'/></Scene></X3D>")
    >>> track = scene.sweep(steps=2)["Fade.value_changed"]
    >>> track.times, track.values
    (array([0. , 0.5, 1. ], dtype=float32), array([2., 3., 4.], dtype=float32))
    """

    node: str
    field: str
    type: str  #: of each value: "SFVec3f"
    leaves: bool  #: sent by an interpolator; else it arrives at a node that is not run, a Transform for example
    times: np.ndarray = field(repr=False)  #: seconds; of a sweep fractions
    #: As interpolate() gives them; a list of arrays where the number of points changes.
    values: Union[np.ndarray, list[np.ndarray]] = field(repr=False)

    @property
    def name(self) -> str:
        return f"{self.node}.{self.field}"


@dataclass(frozen=True)
class Finding:
    """Something that is wrong with a scene's animation, or worth knowing; docs/check-codes.md explains each code.

    >>> finding = Finding("warning", "loop-jump", "the value jumps", "", "Fade", Place("door.x3d", 2, 1))
    >>> str(finding)
    'door.x3d:2:1: warning: the value jumps [loop-jump]'
    """

    severity: str  #: "error", "warning", "note" or "hint"
    code: str
    message: str
    advice: str
    node: str
    place: Place
    more: int = 0  #: how many more of this code there are at this node

    def __str__(self) -> str:
        advice = f" ({self.advice})" if self.advice else ""
        return f"{self.place}: {self.severity}: {self.message}{advice} [{self.code}]"


@dataclass(frozen=True)
class Change:
    """What an edit made of one interpolator.

    >>> Change("Fade", "ScalarInterpolator", 100, 4, 0.1, 0.05, 0.7, False, "").after
    4
    """

    node: str
    type: str
    before: int  #: keys
    after: int
    allowed: float  #: how much its value might be off
    largest: float  #: how much it is, both played
    at: float  #: at which fraction
    angle: bool  #: these are radians
    left: str  #: why it stays as it was; "" where nothing stood in the way


@dataclass(frozen=True)
class Edited:
    """A scene's text after an edit, with a report.

    >>> Edited("#VRML V2.0 utf8\\n", [], []).text
    '#VRML V2.0 utf8\\n'
    """

    text: str = field(repr=False)
    changes: list[Change]
    idle: list[str]  #: nodes that nothing depends on any more, or that were taken out


@dataclass(frozen=True)
class Difference:
    """How one track of two scenes differs.

    >>> Difference("Fade.value_changed", "time", False, 0, 0, 0, 0, False, 3, 2).keys_after
    2
    """

    track: str
    over: str  #: "time"; "fraction" where nothing drives it; "only-first", "only-second" where it is in one scene only
    differs: bool
    since: float  #: where it first differs
    largest: float
    at: float
    allowed: float
    angle: bool  #: these are radians
    keys_before: int
    keys_after: int


def _start(start: Start, at: float) -> list[tuple[str, float]]:
    if isinstance(start, str):
        start = [start]
    return list(start.items()) if isinstance(start, Mapping) else [(name, at) for name in start]


def _options(duration: Optional[float], fps: float, start: Start, start_all: bool, begin: float, now: Optional[float],
             inject: Sequence[tuple[str, str, float]]) -> dict[str, Any]:
    options: dict[str, Any] = {"fps": fps, "start": _start(start, begin), "start_all": start_all, "from": begin}
    options["inject"] = [(*field.rpartition(".")[::2], value, time) for field, value, time in inject]
    if duration is not None:
        options["duration"] = duration
    if now is not None:
        options["now"] = now
    return options


class Scene:
    """The animation of a scene: a file by its path, or a text, which includes no other files.

    Each call that plays reads the scene anew and begins at its opening, so that none sees what another one did.
    `root` is the folder that no file is read outside of; without it that of the scene.

    >>> scene = Scene('''<X3D><Scene>
    ...   <TimeSensor DEF='Clock' cycleInterval='2' loop='true'/>
    ...   <ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 10'/>
    ...   <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Fade' toField='set_fraction'/>
    ... </Scene></X3D>''')
    >>> scene.sensors[0].name, str(scene.routes[0])
    ('Clock', 'Clock.fraction_changed -> Fade.set_fraction')
    >>> scene.play(duration=1, fps=2)["Fade.value_changed"].values
    array([0. , 2.5, 5. ], dtype=float32)
    """

    def __init__(self, path_or_text: PathOrText, *, root: Optional[PathOrText] = None) -> None:
        self._source = path_or_text
        self._root = "" if root is None else os.fspath(root)
        self._thread = threading.get_ident()
        with self._reading() as (path, shown):
            told = _native.describe(path, self._root)
            self._shown = shown

            def node(each: dict[str, Any]) -> Node:
                return Node(**{**each, "place": _place(each["place"], shown)})

            self.interpolators: list[Node] = [node(each) for each in told["interpolators"]]
            self.sensors: list[Node] = [node(each) for each in told["sensors"]]
            self.routes: list[Route] = [Route(*r[:4], _place(r[4], shown), r[5]) for r in told["routes"]]
            #: What reading the scene reported; check() says more.
            self.findings: list[Finding] = _findings(told["findings"], shown)

    @contextlib.contextmanager
    def _reading(self) -> Iterator[tuple[str, Mapping[str, str]]]:
        if threading.get_ident() != self._thread:
            raise RuntimeError("a Scene belongs to the thread that made it: make one of your own in this thread")
        with _opened(self._source) as (path, shown), _translated(shown):
            yield path, shown

    def play(self, duration: Optional[float] = None, fps: float = 60, *, start: Start = (), start_all: bool = False,
             begin: float = 0, now: Optional[float] = None, inject: Sequence[tuple[str, str, float]] = ()) -> dict[str, Track]:
        """Lets time pass from `begin` on, one cycle where no duration is given, and returns what was sent, by name.

        `start` are sensors that start at `begin`, or at the seconds given for each: {"Clock": 1.5}. `inject` are events
        from outside: ("Touch.touchTime", "2", 2.0) sets that field to that text at 2 s. `now` says when the opening is, in
        seconds since 1970: sensors that started before are in the middle of their cycle then.

        >>> waits = Scene('''<X3D><Scene><TimeSensor DEF='Clock'/><ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 10'/>
        ...   <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Fade' toField='set_fraction'/></Scene></X3D>''')
        >>> waits.play(1, 2, start="Clock")["Fade.value_changed"].times
        array([0. , 0.5, 1. ])
        """
        options = _options(duration, fps, start, start_all, begin, now, inject)
        with self._reading() as (path, _):
            return {track.name: track for track in (Track(*each) for each in _native.play(path, self._root, options))}

    def at(self, t: Any, *, fps: float = 60, start: Start = (), start_all: bool = False, now: Optional[float] = None,
           inject: Sequence[tuple[str, str, float]] = ()) -> dict[str, Any]:
        """The value of each track at a time, or at several: the last one that was sent. Tracks that have none are left out.

        >>> scene = Scene('''<X3D><Scene><TimeSensor DEF='Clock' loop='true'/><ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 10'/>
        ...   <ROUTE fromNode='Clock' fromField='fraction_changed' toNode='Fade' toField='set_fraction'/></Scene></X3D>''')
        >>> scene.at(0.5)
        {'Fade.value_changed': 5.0}
        """
        times = np.atleast_1d(np.asarray(t, float))
        options = _options(None, fps, start, start_all, 0, now, inject)
        options["at"] = [float(time) for time in times]
        values: dict[str, Any] = {}
        with self._reading() as (path, _):
            for track in (Track(*each) for each in _native.play(path, self._root, options)):
                last = np.searchsorted(track.times, times, "right") - 1
                if track.times.size == 0 or last.min() < 0:
                    continue
                picked = [track.values[i] for i in last]
                values[track.name] = picked[0] if np.ndim(t) == 0 else picked if isinstance(track.values, list) else np.array(picked)
        return values

    def sweep(self, fractions: Any = None, *, steps: int = 100, at_keys: bool = False) -> dict[str, Track]:
        """What each interpolator gives over its range, or for these fractions, without a clock; `times` are fractions.

        >>> scene = Scene("<X3D><Scene><ScalarInterpolator DEF='Fade' key='0 1' keyValue='2 4'/></Scene></X3D>")
        >>> scene.sweep([0.25])["Fade.value_changed"].values
        array([2.5], dtype=float32)
        """
        given = [] if fractions is None else np.asarray(fractions, np.float32).ravel()
        with self._reading() as (path, _):
            return {track.name: track for track in (Track(*each) for each in _native.sweep(path, self._root, given, steps, at_keys))}


def _findings(findings: list[Any], shown: Mapping[str, str]) -> list[Finding]:
    return [Finding(*f[:5], _place(f[5], shown), f[6]) for f in findings]


def check(path_or_text: PathOrText, *, only: Sequence[str] = (), ignore: Sequence[str] = (), hints: bool = False,
          root: Optional[PathOrText] = None) -> list[Finding]:
    """What is wrong with the animation of a scene, in the order of its file; an unreadable one raises.

    >>> scene = "<X3D><Scene><ScalarInterpolator DEF='Fade' key='0 1 0.5' keyValue='1 2 3'/></Scene></X3D>"
    >>> [finding.code for finding in check(scene, only=["key-order"])]
    ['key-order']
    """
    with _opened(path_or_text) as (path, shown), _translated(shown):
        return _findings(_native.check(path, "" if root is None else os.fspath(root), set(only), set(ignore), hints), shown)


def _amounts(max_error: MaxError) -> list[str]:
    amounts = [max_error] if isinstance(max_error, (str, int, float)) else max_error
    return [part for amount in amounts for part in str(amount).split(",")]


def _edited(told: Any) -> Edited:
    text, changes, idle = told
    return Edited(text, [Change(*change) for change in changes], idle)


def reduce(path_or_text: PathOrText, *, max_error: MaxError = ("0.1%", "1deg"), free: bool = False) -> Edited:
    """Takes keys out of a scene that nobody will miss. `max_error` as for zelvan-play reduce: "0.01", "0.1%", "1deg",
    "Fade=0.01". `free` moves values within the error, too.

    >>> scene = "<X3D><Scene><ScalarInterpolator DEF='Fade' key='0 0.5 1' keyValue='0 1 2'/></Scene></X3D>"
    >>> reduce(scene, max_error=0.01).text
    "<X3D><Scene><ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 2'/></Scene></X3D>"
    """
    with _opened(path_or_text) as (path, shown), _translated(shown):
        return _edited(_native.reduce(path, "", _amounts(max_error), free))


def bake(path_or_text: PathOrText, *, max_error: MaxError = ("0.1%", "1deg"), free: bool = False, at_keys: bool = False,
         rate: Optional[float] = None, prune: bool = False) -> Edited:
    """Turns splines and eased chains of a scene into plain linear keys: within an error, at `rate` keys a second, or at
    the keys alone.

    >>> scene = "<X3D><Scene><SplineScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/></Scene></X3D>"
    >>> "<ScalarInterpolator" in bake(scene).text
    True
    """
    with _opened(path_or_text) as (path, shown), _translated(shown):
        return _edited(_native.bake(path, "", _amounts(max_error), free, at_keys, rate, prune))


def diff(first: PathOrText, second: PathOrText, *, max_error: MaxError = (), duration: Optional[float] = None, fps: float = 60,
         start: Start = (), start_all: bool = False, begin: float = 0, now: Optional[float] = None,
         inject: Sequence[tuple[str, str, float]] = ()) -> list[Difference]:
    """Compares what two scenes play, track by track, by value.

    >>> scene = "<X3D><Scene><ScalarInterpolator DEF='Fade' key='0 1' keyValue='0 1'/></Scene></X3D>"
    >>> [difference.differs for difference in diff(scene, scene.replace("'0 1'/", "'0 2'/"))]
    [True]
    """
    options = _options(duration, fps, start, start_all, begin, now, inject)
    with _opened(first) as (a, shown_a), _opened(second) as (b, shown_b), _translated({**shown_a, **shown_b}):
        return [Difference(*each) for each in _native.diff(a, b, "", _amounts(max_error), options)]
