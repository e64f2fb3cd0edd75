#!/usr/bin/env python3
"""Scalar values per second that zelvan_interpolation.interpolate() gives, of each type; the best of five."""

import time

import numpy as np

import zelvan_interpolation as zi

KEYS, POINTS, FRACTIONS = 20, 100, 1_000_000


def shape_of(name):
    if name == "TransformationInterpolator":
        return (4, 4)
    points = (POINTS,) if name.startswith(("Coordinate", "Normal", "Vector")) else ()
    if name.startswith(("Orientation", "Squad")):
        return (4,)
    if name.startswith(("Scalar", "SplineScalar", "Vector")):
        return points
    return (*points, 2) if name.endswith("2D") or name == "EaseInEaseOut" else (*points, 3)


for name in zi.interpolator_types():
    values = np.random.default_rng(1).random((KEYS, *shape_of(name)))
    if name == "TransformationInterpolator":
        values = np.tile(np.eye(4), (KEYS, 1, 1)) + 0.1 * values
    count = FRACTIONS // (POINTS if len(values.shape) > 1 and values.shape[1] == POINTS else 1)
    fractions = np.linspace(0, 1, count, dtype=np.float32)
    best = np.inf
    for _ in range(5):
        begin = time.process_time()
        played = zi.interpolate(name, np.linspace(0, 1, KEYS), values, fractions)
        best = min(best, time.process_time() - begin)
    print(f"{name:30} {played.size / best / 1e6:7.0f} million values/s")
