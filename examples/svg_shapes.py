"""Paths and text for `svg.py`: rounded corners, curves against the flow, labels that fit."""

from __future__ import annotations

import re
from collections.abc import Sequence
from math import hypot
from unicodedata import east_asian_width
from xml.sax.saxutils import escape

Point = tuple[float, float]
Rect = tuple[float, float, float, float]

CORNER = 14.0  # radius of a route's bends
REACH = 70.0  # how far a returning curve swings out of its ports

# ---- paths


def xy(x: float, y: float) -> str:
    """A point as path data."""
    return f"{x:.1f} {y:.1f}"


def rounded_path(points: Sequence[Point], radius: float = CORNER) -> str:
    """Path data of a polyline with rounded corners.

    A corner takes at most half of either neighbour segment, so that two corners never overlap.
    """
    points = turning_points(points)
    parts = [f"M{xy(*points[0])}"]
    for before, corner, after in zip(points, points[1:], points[2:]):
        reach = min(radius, distance(before, corner) / 2, distance(corner, after) / 2)
        parts.append(f"L{xy(*towards(corner, before, reach))}"
                     f"Q{xy(*corner)} {xy(*towards(corner, after, reach))}")
    return "".join(parts) + f"L{xy(*points[-1])}"


def turning_points(points: Sequence[Point]) -> list[Point]:
    """The polyline without the points at which it goes straight on.

    A route has one at every layer that it crosses; kept, it would halve a corner's room.
    """
    kept: list[Point] = []
    for point in points:
        if kept and distance(kept[-1], point) < 1e-6:
            continue
        if len(kept) > 1 and goes_straight(kept[-2], kept[-1], point):
            kept.pop()
        kept.append(point)
    return kept


def goes_straight(a: Point, b: Point, c: Point) -> bool:
    """Whether the way from a through b to c goes straight on at b."""
    cross = (b[0] - a[0]) * (c[1] - b[1]) - (b[1] - a[1]) * (c[0] - b[0])
    dot = (b[0] - a[0]) * (c[0] - b[0]) + (b[1] - a[1]) * (c[1] - b[1])
    return abs(cross) <= 1e-6 * dot


def distance(a: Point, b: Point) -> float:
    """The length of the straight line between two points."""
    return hypot(b[0] - a[0], b[1] - a[1])


def towards(start: Point, end: Point, length: float) -> Point:
    """The point at a distance of `length` from `start`, on the line to `end`."""
    share = length / distance(start, end)
    return (start[0] + (end[0] - start[0]) * share, start[1] + (end[1] - start[1]) * share)


def turn(point: Point, direction: str) -> Point:
    """The point in a frame whose x runs along the flow."""
    x, y = point if direction in ("RIGHT", "LEFT") else (point[1], point[0])
    return (-x if direction in ("LEFT", "UP") else x, y)


def turn_back(point: Point, direction: str) -> Point:
    """The inverse of `turn`."""
    x, y = (-point[0] if direction in ("LEFT", "UP") else point[0]), point[1]
    return (x, y) if direction in ("RIGHT", "LEFT") else (y, x)


def returning_path(tail: Point, head: Point, rects: Sequence[Rect],
                   direction: str) -> tuple[str, list[Point]]:
    """Path data of a smooth curve against the flow, and the points that hull it.

    It leaves the output port along the flow, runs back in a lane that misses the boxes of both
    ends, given as `rects` of x, y, width and height, and enters the input port along the flow.
    """
    (x1, y1), (x2, y2) = turn(tail, direction), turn(head, direction)
    lane = returning_lane((y1, y2), rects, direction)
    hull = [turn_back(point, direction) for point in (
        (x1, y1), (x1 + REACH, y1), (x1 + REACH, lane), (x1, lane),
        (x2, lane), (x2 - REACH, lane), (x2 - REACH, y2), (x2, y2))]
    p = [xy(*point) for point in hull]
    if x2 > x1:  # nothing to go back to; the two bends would meet in a spike
        return f"M{p[0]}C{p[1]} {p[6]} {p[7]}", hull
    return f"M{p[0]}C{p[1]} {p[2]} {p[3]}L{p[4]}C{p[5]} {p[6]} {p[7]}", hull


def returning_lane(ends: tuple[float, float], rects: Sequence[Rect], direction: str) -> float:
    """Where, across the flow, a returning curve runs: between its boxes or just past them."""
    sideways = direction in ("RIGHT", "LEFT")
    spans = sorted((y, y + h) if sideways else (x, x + w) for x, y, w, h in rects)
    if spans[1][0] - spans[0][1] > REACH / 2:
        return (spans[0][1] + spans[1][0]) / 2
    before, after = spans[0][0] - REACH / 2, max(spans[0][1], spans[1][1]) + REACH / 2
    return before if sum(ends) / 2 - before <= after - sum(ends) / 2 else after


# ---- text


def safe(value: str) -> str:
    """The text escaped for XML, without the characters that XML cannot represent."""
    return escape(re.sub("[^\t\n\r\x20-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]", "\ufffd", value))


def text(value: str, x: float, y: float, size: float, colour: str, anchor: str = "start",
         weight: int = 400) -> str:
    """A text element whose letters are centred on `y`."""
    # Not every renderer knows dominant-baseline; a third of the size below the middle is the
    # baseline of common sans-serif faces.
    return (f'<text x="{x:.1f}" y="{y + size * 0.35:.1f}" font-size="{size:.1f}" fill="{colour}" '
            f'text-anchor="{anchor}" font-weight="{weight}">{safe(value)}</text>')


def text_width(value: str) -> float:
    """The approximate width of the text, in font sizes; too wide rather than too narrow."""
    def advance(char: str) -> float:
        if east_asian_width(char) in "WF":
            return 1.0
        if char in "iljI|!.,:;'()[]":
            return 0.34
        if char in "ftr -":
            return 0.42
        if char in "mwMW@%":
            return 0.94
        return 0.72 if char.isupper() else 0.63

    return sum(map(advance, value))


def fitted(label: str, width: float, size: float, least: float) -> tuple[str, float]:
    """One line of text no wider than `width`: set smaller, but not below `least`, or else cut short."""
    fitting = max(least, min(size, width / max(text_width(label), 0.1)))
    return shortened(label, width / fitting), fitting


def shortened(label: str, width: float) -> str:
    """The text, cut and ended with an ellipsis if it is wider than `width` font sizes."""
    if text_width(label) <= width:
        return label
    kept = label
    while kept and text_width(kept + "…") > width:
        kept = kept[:-1]
    return kept.rstrip() + "…"


def wrapped(label: str, width: float, height: float, size: float,
            least: float) -> tuple[list[str], float]:
    """Lines of text that fit into `width` and `height`, in the largest size up to `size`."""
    words = re.split(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])|(?<=[ _-])", label)
    while True:
        lines = broken(words, width / size)
        fits = len(lines) * size * 1.15 <= height and \
            all(text_width(line) * size <= width for line in lines)
        if fits or size <= least:
            break
        size = max(least, size * 0.94)
    rows = max(1, int(height / (size * 1.15)))
    if len(lines) > rows:
        lines = [*lines[:rows - 1], " ".join(lines[rows - 1:])]
    return [shortened(line, width / size) for line in lines], size


def broken(words: Sequence[str], width: float) -> list[str]:
    """The words in as few lines as fit into `width` font sizes; a long word has its own line."""
    lines = [""]
    for word in words:
        if lines[-1] and text_width((lines[-1] + word).rstrip()) > width:
            lines.append("")
        lines[-1] += word
    return [line.strip() for line in lines]
