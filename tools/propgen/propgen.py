#!/usr/bin/env python3
"""Writes the props of the courtyard as static meshes (ASM text): the doors, the switch and
the two items.

    python3 tools/propgen/propgen.py <data-dir>

writes into <data-dir>/resources/models/:

- gate_slider.asm: the sliding gate of the east yard wall's gap (240 wide, in a wall 40
  thick): a plank panel 10 thick between an iron frame, 300 high with a row of spikes on
  top. It stands across the model's y axis, centred on the origin, since a sliding door
  never turns: its body pushes it along the wall.
- door_hinged.asm: the hinged door of the square's south wall gap (200 wide): a plank leaf
  260 high and 8 thick from the hinge at the origin along +x, so that turning the body
  about z swings it; the ring hangs at the far edge.
- switch_off.asm, switch_on.asm: the wall switch, lever down and lever up: an iron post
  with a box whose four sides carry the switch plate, and the lever on top. A switch is
  drawn without a turn, so every side shows the plate.
- medkit.asm: the health item, a white case with the red cross on its lid.
- strongbox.asm: the target item, an iron-banded wooden box.

Textures: the doors and the strongbox "resources/textures/door_wood.dds" (planks 32 pixels
wide, iron bands at rows 36..52 and 204..220, a ring at 214, 128 of 256); the switch
"resources/textures/switch_off.dds" and "switch_on.dds" (128 square, the lever and the lamp
drawn on the plate); the case "resources/textures/item_medkit.dds". Texture rows run from
the top of the picture (t 0) down (t 1), as in the level's meshes.

The output depends on nothing but this file: every number is written with at most four
decimals, so the same script gives the same bytes everywhere.
"""

import math
import os
import sys

# The shared ASM writer lives in tools/; no bytecode is left in the source tree.
sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))
from asmtext import Mesh, num  # noqa: E402

MODEL_DIR = 'resources/models'


def rect(u0, v0, u1, v1):
    """The texture rectangle of a face: (u0, v0) at the face's top left, (u1, v1) at its
    bottom right, seen from the front."""
    return (u0, v0, u1, v1)


def box(mesh, lo, hi, sides, top=None, bottom=None):
    """An axis-aligned box from lo to hi. `sides` maps each of the four side faces (seen from
    outside, upright) to a texture rectangle: either one for all four or a dict with the keys
    '-x', '+x', '-y', '+y'. `top` and `bottom` are rectangles of their own; None leaves the
    face out (it is never seen)."""
    x0, y0, z0 = lo
    x1, y1, z1 = hi

    def side(key):
        return sides[key] if isinstance(sides, dict) else sides

    # Each side from its left foot, counter-clockwise seen from outside.
    quads = {
        '-y': [(x0, y0, z0), (x1, y0, z0), (x1, y0, z1), (x0, y0, z1)],
        '+x': [(x1, y0, z0), (x1, y1, z0), (x1, y1, z1), (x1, y0, z1)],
        '+y': [(x1, y1, z0), (x0, y1, z0), (x0, y1, z1), (x1, y1, z1)],
        '-x': [(x0, y1, z0), (x0, y0, z0), (x0, y0, z1), (x0, y1, z1)],
    }
    for key in ('-y', '+x', '+y', '-x'):
        r = side(key)
        if r is None:
            continue
        u0, v0, u1, v1 = r
        mesh.polygon(quads[key], [(u0, v1), (u1, v1), (u1, v0), (u0, v0)])
    if top is not None:
        u0, v0, u1, v1 = top
        # Seen from above with -y towards the viewer: the rectangle's top edge at +y.
        mesh.polygon([(x0, y0, z1), (x1, y0, z1), (x1, y1, z1), (x0, y1, z1)],
                     [(u0, v1), (u1, v1), (u1, v0), (u0, v0)])
    if bottom is not None:
        u0, v0, u1, v1 = bottom
        mesh.polygon([(x0, y1, z0), (x1, y1, z0), (x1, y0, z0), (x0, y0, z0)],
                     [(u0, v1), (u1, v1), (u1, v0), (u0, v0)])


def pyramid(mesh, cx, cy, z0, half, height, uv):
    """A four-sided spike standing on the square of half-width `half` at height z0."""
    u0, v0, u1, v1 = uv
    corners = [(cx - half, cy - half), (cx + half, cy - half), (cx + half, cy + half),
               (cx - half, cy + half)]
    apex = (cx, cy, z0 + height)
    for k in range(4):
        a, b = corners[k], corners[(k + 1) % 4]
        mesh.polygon([(a[0], a[1], z0), (b[0], b[1], z0), apex],
                     [(u0, v1), (u1, v1), ((u0 + u1) / 2.0, v0)])


def rod(mesh, start, end, half, uv):
    """A square bar of half-width `half` from `start` to `end`, in a plane x = const and with
    its end caps; `uv` is one rectangle for every face."""
    (x, ya, za), (_, yb, zb) = start, end
    dy, dz = yb - ya, zb - za
    length = math.hypot(dy, dz)
    # Across the bar in the y-z plane, and along x.
    ny, nz = -dz / length * half, dy / length * half
    u0, v0, u1, v1 = uv
    ring_a = [(x - half, ya - ny, za - nz), (x + half, ya - ny, za - nz),
              (x + half, ya + ny, za + nz), (x - half, ya + ny, za + nz)]
    ring_b = [(p[0], p[1] + dy, p[2] + dz) for p in ring_a]
    for k in range(4):
        a0, a1 = ring_a[k], ring_a[(k + 1) % 4]
        b0, b1 = ring_b[k], ring_b[(k + 1) % 4]
        mesh.polygon([a0, b0, b1, a1], [(u0, v1), (u1, v1), (u1, v0), (u0, v0)])
    mesh.polygon(ring_a, [(u0, v1), (u1, v1), (u1, v0), (u0, v0)])
    mesh.polygon(list(reversed(ring_b)), [(u0, v1), (u1, v1), (u1, v0), (u0, v0)])


# ---- door_wood.dds: planks, two iron bands, a ring ----
WOOD_IRON = rect(0.1, 40.0 / 256, 0.9, 48.0 / 256)  # inside the upper band: plain iron
WOOD_PLAIN = rect(0.0, 60.0 / 256, 1.0, 196.0 / 256)  # planks between the bands


def gate_slider():
    mesh = Mesh()
    half, height, thick = 120.0, 300.0, 5.0
    frame = 6.0
    # The plank panel, across y; planks 30 wide, the bands near the top and the foot. The
    # ring sits at u 0.84: on the +x face towards +y, on the -x face towards -y.
    panel = rect(0.0, 0.0, 1.0, 1.0)
    box(mesh, (-thick, -half + frame, frame), (thick, half - frame, height - frame),
        {'+x': panel, '-x': panel, '-y': None, '+y': None})
    # The iron frame: two stiles and two rails, a little proud of the planks.
    f = frame
    box(mesh, (-thick - 1, -half, 0.0), (thick + 1, -half + f, height), WOOD_IRON, WOOD_IRON)
    box(mesh, (-thick - 1, half - f, 0.0), (thick + 1, half, height), WOOD_IRON, WOOD_IRON)
    box(mesh, (-thick - 1, -half + f, height - f), (thick + 1, half - f, height),
        WOOD_IRON, WOOD_IRON)
    box(mesh, (-thick - 1, -half + f, 0.0), (thick + 1, half - f, f), WOOD_IRON, WOOD_IRON)
    # A diagonal brace of iron on both faces, foot of the -y side to the top of the +y side.
    for side in (-1.0, 1.0):
        x = side * (thick + 0.5)
        a, b = (-half + f, f + 10.0), (half - f, height - f - 10.0)
        dy, dz = b[0] - a[0], b[1] - a[1]
        length = math.hypot(dy, dz)
        ny, nz = -dz / length * 4.0, dy / length * 4.0
        pts = [(x, a[0] - ny, a[1] - nz), (x, b[0] - ny, b[1] - nz), (x, b[0] + ny, b[1] + nz),
               (x, a[0] + ny, a[1] + nz)]
        if side < 0:
            pts.reverse()
        u0, v0, u1, v1 = WOOD_IRON
        mesh.polygon(pts, [(u0, v1), (u1, v1), (u1, v0), (u0, v0)])
    # Spikes along the top rail.
    for k in range(12):
        y = -half + 10.0 + k * (2 * half - 20.0) / 11.0
        pyramid(mesh, 0.0, y, height, 3.5, 16.0, WOOD_IRON)
    return mesh


def door_hinged():
    mesh = Mesh()
    width, height, thick = 200.0, 260.0, 4.0
    # Both faces show the ring at the far edge (u 0.84 of the width from the hinge).
    leaf = rect(0.0, 0.0, 1.0, 1.0)
    mirrored = rect(1.0, 0.0, 0.0, 1.0)
    box(mesh, (0.0, -thick, 0.0), (width, thick, height),
        {'-y': leaf, '+y': mirrored, '-x': rect(0.0, 0.0, 0.04, 1.0),
         '+x': rect(0.96, 0.0, 1.0, 1.0)},
        rect(0.0, 0.5, 1.0, 0.52))
    # Two hinge straps reaching in from the hinge, and their knuckles at the origin.
    for z in (44.0, 208.0):
        box(mesh, (0.0, -thick - 1, z), (70.0, thick + 1, z + 10.0),
            {'-y': WOOD_IRON, '+y': WOOD_IRON, '-x': None, '+x': WOOD_IRON}, WOOD_IRON,
            WOOD_IRON)
        box(mesh, (-4.0, -4.0, z - 6.0), (2.0, 4.0, z + 16.0), WOOD_IRON, WOOD_IRON, WOOD_IRON)
    return mesh


# ---- switch_off.dds / switch_on.dds: a brushed plate, a dark rim, the lever, a lamp ----
SWITCH_PLATE = rect(0.0, 0.0, 1.0, 1.0)
SWITCH_RIM = rect(0.003, 0.3, 0.025, 0.7)  # the dark rim: the post
SWITCH_BRUSHED = rect(0.12, 0.5, 0.3, 0.7)  # plain plate, left of the slot


def switch(on):
    mesh = Mesh()
    post, base_z, size = 5.0, 44.0, 15.0
    # The post and a foot plate.
    box(mesh, (-post, -post, 0.0), (post, post, base_z), SWITCH_RIM)
    box(mesh, (-9.0, -9.0, 0.0), (9.0, 9.0, 3.0), SWITCH_RIM, SWITCH_RIM)
    # The box: the plate on all four sides, brushed metal above and below.
    top_z = base_z + 2 * size
    box(mesh, (-size, -size, base_z), (size, size, top_z), SWITCH_PLATE, SWITCH_BRUSHED,
        SWITCH_BRUSHED)
    # The lever on top, pivoting about x at the middle of the lid: up leans a little
    # towards +y, down lies over the -y side.
    pivot = (0.0, 0.0, top_z + 2.0)
    angle = math.radians(-15.0 if on else 115.0)  # from the vertical, towards -y
    tip = (0.0, -math.sin(angle) * 22.0, pivot[2] + math.cos(angle) * 22.0)
    box(mesh, (-4.0, -4.0, top_z), (4.0, 4.0, top_z + 3.0), SWITCH_RIM, SWITCH_RIM)
    rod(mesh, pivot, tip, 1.6, SWITCH_BRUSHED)
    # The knob: light when up, dark when down, as on the plate.
    knob = rect(0.47, 0.24, 0.53, 0.29) if on else rect(0.47, 0.58, 0.53, 0.63)
    k = 3.2
    box(mesh, (tip[0] - k, tip[1] - k, tip[2] - k), (tip[0] + k, tip[1] + k, tip[2] + k), knob,
        knob, knob)
    return mesh


# ---- item_medkit.dds: leather, a white case with a red cross, two straps ----
def medkit():
    mesh = Mesh()
    hx, hy, h = 16.0, 11.0, 12.0
    # The lid shows the whole case picture: cross in the middle, the straps across.
    lid = rect(10.0 / 128, 22.0 / 128, 118.0 / 128, 106.0 / 128)
    # The sides: a white strip of the case with the straps running down.
    long_side = rect(10.0 / 128, 24.0 / 128, 118.0 / 128, 34.0 / 128)
    short_side = rect(40.0 / 128, 24.0 / 128, 88.0 / 128, 34.0 / 128)
    box(mesh, (-hx, -hy, 1.0), (hx, hy, h), {'-y': long_side, '+y': long_side,
                                             '-x': short_side, '+x': short_side}, lid)
    # A leather foot under the case, a leather handle on the -y side.
    leather = rect(2.0 / 128, 2.0 / 128, 8.0 / 128, 8.0 / 128)
    box(mesh, (-hx + 1, -hy + 1, 0.0), (hx - 1, hy - 1, 1.0), leather)
    box(mesh, (-6.0, -hy - 2.0, 6.0), (6.0, -hy, 8.5), leather, leather, leather)
    return mesh


def strongbox():
    mesh = Mesh()
    hx, hy, h = 22.0, 15.0, 24.0
    lid_h = 8.0
    # The body: planks with the lower band; the front (-y) carries the ring in its middle.
    front = rect(0.67, 0.3, 1.0, 0.95)
    body_side = rect(0.0, 0.3, 0.5, 0.95)
    end = rect(0.0, 0.3, 0.33, 0.95)
    box(mesh, (-hx, -hy, 0.0), (hx, hy, h),
        {'-y': front, '+y': body_side, '-x': end, '+x': end}, None, None)
    # The lid, a little wider, planks with the upper band.
    lid_side = rect(0.0, 0.1, 0.5, 0.3)
    box(mesh, (-hx - 1, -hy - 1, h), (hx + 1, hy + 1, h + lid_h), lid_side,
        rect(0.0, 0.3, 0.5, 0.55))
    # Iron corner edges.
    for cx in (-hx - 1.5, hx - 1.5):
        for cy in (-hy - 1.5, hy - 1.5):
            box(mesh, (cx, cy, 0.0), (cx + 3.0, cy + 3.0, h + 0.5), WOOD_IRON, WOOD_IRON)
    return mesh


MODELS = [
    ('gate_slider.asm', gate_slider,
     'The sliding gate: planks in an iron frame, 240 wide along y, 300 high with spikes.\n'
     'Texture resources/textures/door_wood.dds. Made by tools/propgen/propgen.py.'),
    ('door_hinged.asm', door_hinged,
     'The hinged door: a plank leaf 200 wide from the hinge at the origin along +x, 260 high.\n'
     'Texture resources/textures/door_wood.dds. Made by tools/propgen/propgen.py.'),
    ('switch_off.asm', lambda: switch(False),
     'The wall switch, lever down: a post, a box with the plate on four sides, the lever.\n'
     'Texture resources/textures/switch_off.dds. Made by tools/propgen/propgen.py.'),
    ('switch_on.asm', lambda: switch(True),
     'The wall switch, lever up: a post, a box with the plate on four sides, the lever.\n'
     'Texture resources/textures/switch_on.dds. Made by tools/propgen/propgen.py.'),
    ('medkit.asm', medkit,
     'The health item: a white case with the red cross on its lid, on a leather foot.\n'
     'Texture resources/textures/item_medkit.dds. Made by tools/propgen/propgen.py.'),
    ('strongbox.asm', strongbox,
     'The target item: a wooden strongbox with iron bands, corners and a ring.\n'
     'Texture resources/textures/door_wood.dds. Made by tools/propgen/propgen.py.'),
]


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'w', encoding='ascii', newline='\n') as f:
        f.write(text)


def main():
    if len(sys.argv) != 2:
        print('usage: propgen.py <data-dir>')
        return 2
    folder = os.path.join(sys.argv[1], MODEL_DIR)
    for name, build, comment in MODELS:
        write(os.path.join(folder, name), build().text(comment))
    return 0


if __name__ == '__main__':
    sys.exit(main())
