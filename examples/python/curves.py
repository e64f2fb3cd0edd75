#!/usr/bin/env python3
"""How a scene's curves look: python3 curves.py SCENE [PICTURE]

To be read from top to bottom, or cell by cell in an editor that knows "# %%". With matplotlib the curves are drawn into
PICTURE (curves.png); without it they are described.
"""

# %% A scene, and what it has
import sys

import numpy as np

import zelvan_interpolation as zi

scene = zi.Scene(sys.argv[1] if len(sys.argv) > 1 else "examples/three-ways.x3d")
for node in scene.interpolators:
    print(f"{node.name}: {len(node.fields['key'])} keys, {node.type} at {node.place}")

# %% Played: what each interpolator sent, and when
tracks = {name: track for name, track in scene.play(start_all=True).items() if track.leaves and len(track.times)}
for name, track in tracks.items():
    values = np.concatenate([np.ravel(value) for value in track.values])
    print(f"{name}: {len(track.times)} events from {track.times[0]:g} to {track.times[-1]:g} s, "
          f"values {values.min():g} to {values.max():g}")

# %% The same curve at half a million fractions, without a scene
ease = next((node for node in scene.interpolators if node.type == "PositionInterpolator"), None)
if ease is not None:
    fractions = np.linspace(0, 1, 500_000)
    fine = zi.interpolate(ease.type, ease.fields["key"], ease.fields["keyValue"], fractions)
    steps = np.linalg.norm(np.diff(fine, axis=0), axis=1)
    print(f"{ease.name}: path of length {steps.sum():.4g}")

# %% Drawn
try:
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot
except ImportError:
    print("matplotlib is not installed: no picture")
else:
    figure, rows = pyplot.subplots(len(tracks), sharex=True, squeeze=False, figsize=(8, 2 * len(tracks)))
    for row, (name, track) in zip(rows[:, 0], tracks.items()):
        row.plot(track.times, np.array([np.ravel(value)[:4] for value in track.values]))
        row.set_ylabel(name.rpartition(".")[0])
    rows[-1, 0].set_xlabel("seconds")
    picture = sys.argv[2] if len(sys.argv) > 2 else "curves.png"
    figure.savefig(picture)
    print(f"{picture} is drawn")
