#!/usr/bin/env python3
"""Keys that reduce and bake leave, beside Ramer-Douglas-Peucker: reduction.py SCENE|FOLDER...

Errors are 0.1 % of each track's range, and a degree for rotations. `reduce` stands beside Ramer-Douglas-Peucker of the
same keys, `bake` beside that of 1,000 samples (and the keys) of each curve; EaseInEaseOuts are sampled through what they
drive. Each scene's line says: keys, what is left by Ramer-Douglas-Peucker, stored values, --free.
"""

import pathlib
import sys

import numpy as np

import zelvan_interpolation as zi

ERRORS = ["0.1%", "1deg"]


def rotations(type_):
    return type_.startswith(("Orientation", "Squad"))


def linear(type_):
    return type_.removeprefix("Squad").removeprefix("Spline")


def difference(type_, a, b):
    """Of each two values: an angle, or the largest difference of one number."""
    if not rotations(type_):
        return np.abs(a.astype(float) - b).reshape(len(a), -1).max(axis=1)

    def quaternions(r):
        axis = r[:, :3] / np.maximum(np.linalg.norm(r[:, :3], axis=1, keepdims=True), 1e-30)
        return np.hstack([axis * np.sin(r[:, 3:] / 2), np.cos(r[:, 3:] / 2)])
    dot = np.abs((quaternions(a.astype(float)) * quaternions(b.astype(float))).sum(axis=1))
    return 2 * np.arccos(np.minimum(dot, 1))


def peucker(type_, keys, values, error):
    """How many keys Ramer-Douglas-Peucker leaves, with the blend of the node type between two keys."""
    stays = {0, len(keys) - 1}
    for i in range(len(keys) - 1):  # what must stay stays for both: the keys on both sides of a step
        if keys[i] == keys[i + 1]:
            stays |= {i, i + 1}
    ends = sorted(stays)
    parts = list(zip(ends, ends[1:]))
    while parts:
        i, j = parts.pop()
        if j - i < 2 or keys[i] == keys[j]:
            continue
        passed = zi.interpolate(type_, keys[[i, j]], values[[i, j]], keys[i + 1:j])
        off = difference(type_, passed.reshape(values[i + 1:j].shape), values[i + 1:j])
        if off.max() > error:
            split = i + 1 + int(off.argmax())
            stays.add(split)
            parts += [(i, split), (split, j)]
    return len(stays)


def eased(scene):
    """The EaseInEaseOut before each interpolator that has one."""
    nodes = {node.name: node for node in scene.interpolators}
    return {r.to_node: nodes[r.from_node] for r in scene.routes
            if r.from_field == "modifiedFraction_changed" and r.from_node in nodes and r.to_node in nodes}


def samples(node, ease):
    """Keys and values of 1,000 places of a curve, and of its keys."""
    fields = dict(node.fields)
    keys, values = fields.pop("key"), fields.pop("keyValue")
    own = np.unique(np.concatenate([np.linspace(0, 1, 1001, dtype=np.float32), ease.fields["key"] if ease else keys]))
    own = own[(own >= 0) & (own <= 1)] if ease else own[(own >= keys[0]) & (own <= keys[-1])]
    at = zi.interpolate("EaseInEaseOut", ease.fields["key"], ease.fields["easeInEaseOut"], own) if ease else own
    extra = {name: fields[name] for name in ("keyVelocity", "closed", "normalizeVelocity") if name in fields}
    extra = {name: value for name, value in extra.items() if not isinstance(value, np.ndarray) or value.size}
    return own, zi.interpolate(node.type, keys, values, at, **extra)


def measure(path):
    """Of reduce and of bake: keys before, by Ramer-Douglas-Peucker, stored, free."""
    scene = zi.Scene(path)
    nodes, eases = {node.name: node for node in scene.interpolators}, eased(scene)
    result = {}
    for name, command in (("reduce", zi.reduce), ("bake", zi.bake)):
        stored, free = (command(path, max_error=ERRORS, free=free).changes for free in (False, True))
        total = np.zeros(4, int)
        for change, other in zip(stored, free):
            if change.left or other.left or change.allowed <= 0 or change.node not in nodes:
                continue
            node = nodes[change.node]
            if name == "reduce":
                keys, values = node.fields["key"], node.fields["keyValue"]
                values = values.reshape(len(keys), -1)
            else:
                keys, values = samples(node, eases.get(change.node))
            type_ = linear(node.type)
            total += [len(keys), peucker(type_, keys, values, change.allowed), change.after, other.after]
        result[name] = total
    return result


def main():
    files = []
    for argument in map(pathlib.Path, sys.argv[1:]):
        files += sorted(argument.glob("**/*.x3d*")) + sorted(argument.glob("**/*.wrl")) if argument.is_dir() else [argument]
    totals = {"reduce": np.zeros(4, int), "bake": np.zeros(4, int)}
    for file in files:
        try:
            found = measure(file)
        except zi.Error as error:
            print(f"{file.name}: {error}", file=sys.stderr)
            continue
        for name, counts in found.items():
            totals[name] += counts
            if counts[0]:
                print(f"{file.name:32} {name:7} {counts[0]:7} {counts[1]:7} {counts[2]:7} {counts[3]:7}")
    for name, (before, peuckers, stored, free) in totals.items():
        if before:
            print(f"{name}: {before} keys; Ramer-Douglas-Peucker {before / peuckers:.2f} to 1, {name} {before / stored:.2f} to 1, "
                  f"--free {before / free:.2f} to 1; of Ramer-Douglas-Peucker's {stored / peuckers:.3f} and {free / peuckers:.3f}")


main()
