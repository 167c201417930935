#!/usr/bin/env python3
"""Writes the courtyard level: its meshes (ASM text), the sky dome and the level document.

    python3 tools/levelgen/levelgen.py <data-dir> [minimap.ppm]

With a second argument it also draws the mini map's picture, which tools/make_assets.sh
compresses into resources/textures/level1/minimap.dds.

The output depends on nothing but this file: every number is written with a fixed number of
decimals, so the same script gives the same bytes everywhere.

The level lies in the ground plane x, y with z up, inside x -1405..3248, y -3004..1224.
Everything solid is an axis-aligned block (a wall piece or a house); each block is drawn as
plaster sides under a tiled gable roof, and its footprint is one collision rectangle.
"""

import math
import os
import sys

# The shared ASM writer lives in tools/; no bytecode is left in the source tree.
sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))
from asmtext import Mesh, num  # noqa: E402

AREA = (-1405.0, 3248.0, -3004.0, 1224.0)  # x0, x1, y0, y1
T = 40.0  # wall thickness
WALL_OUTER = 360.0
WALL_INNER = 300.0

# Texture scales: world units per texture repeat.
COBBLE_REPEAT = 80.0  # eight stones a repeat: a stone about the size of a hand
PLASTER_REPEAT = 200.0
ROOF_REPEAT = 100.0

TEX_COBBLES = 'resources/textures/ground_cobbles.dds'
TEX_PLASTER = 'resources/textures/wall_plaster.dds'
TEX_ROOF = 'resources/textures/roof_tiles.dds'
TEX_WOOD = 'resources/textures/door_wood.dds'
TEX_SKY = 'resources/textures/sky.dds'

MESH_DIR = 'resources/meshes'
ABT_FILE = 'resources/meshes/courtyard.abt'


ground, walls, roofs, doors, sky = Mesh(), Mesh(), Mesh(), Mesh(), Mesh()
hulls = []  # (comment, [(x, y), ...] counter-clockwise)


def wall_quad(a, b, z0, z1, ztop):
    """The vertical face above the footprint edge a -> b; the outside is to its right."""
    length = math.hypot(b[0] - a[0], b[1] - a[1])
    u0 = (a[0] + a[1]) / PLASTER_REPEAT
    u1 = u0 + length / PLASTER_REPEAT
    # t runs from the top of the wall (0) to its foot (1): the texture's rain-dark rows
    # are at the bottom.
    walls.polygon([(a[0], a[1], z0), (b[0], b[1], z0), (b[0], b[1], z1), (a[0], a[1], z1)],
                  [(u0, 1.0 - z0 / ztop), (u1, 1.0 - z0 / ztop), (u1, 1.0 - z1 / ztop),
                   (u0, 1.0 - z1 / ztop)])


def block(comment, x0, x1, y0, y1, height, rise, overhang, door_side=None):
    """A solid block: four plaster sides, a gable roof along its longer side, a collision
    rectangle for its footprint and, on houses, a wooden door on one side."""
    corners = [(x0, y0), (x1, y0), (x1, y1), (x0, y1)]
    hulls.append((comment, corners))
    for k in range(4):
        wall_quad(corners[k], corners[(k + 1) % 4], 0.0, height, height)

    along_x = (x1 - x0) >= (y1 - y0)
    # Work in a frame whose first axis runs along the ridge; the frame is a rotation, so
    # the winding of every face is kept.
    if along_x:
        u0, u1, v0, v1 = x0, x1, y0, y1

        def world(u, v, z):
            return (u, v, z)
    else:
        u0, u1, v0, v1 = y0, y1, -x1, -x0

        def world(u, v, z):
            return (-v, u, z)
    vm = (v0 + v1) / 2.0
    half = (v1 - v0) / 2.0
    zr = height + rise
    ze = height - overhang * rise / half
    slope = math.hypot(half + overhang, rise + overhang * rise / half)
    ua, ub = u0 - overhang, u1 + overhang
    ru0, ru1 = ua / ROOF_REPEAT, ub / ROOF_REPEAT
    s = slope / ROOF_REPEAT
    # The two roof planes, t from the ridge (0) down to the eaves.
    roofs.polygon([world(ua, v0 - overhang, ze), world(ub, v0 - overhang, ze), world(ub, vm, zr),
                   world(ua, vm, zr)], [(ru0, s), (ru1, s), (ru1, 0.0), (ru0, 0.0)])
    roofs.polygon([world(ub, v1 + overhang, ze), world(ua, v1 + overhang, ze), world(ua, vm, zr),
                   world(ub, vm, zr)], [(ru1, s), (ru0, s), (ru0, 0.0), (ru1, 0.0)])
    # The undersides of the eaves, seen from the street.
    roofs.polygon([world(ua, vm, zr), world(ub, vm, zr), world(ub, v0 - overhang, ze),
                   world(ua, v0 - overhang, ze)], [(ru0, 0.0), (ru1, 0.0), (ru1, s), (ru0, s)])
    roofs.polygon([world(ub, vm, zr), world(ua, vm, zr), world(ua, v1 + overhang, ze),
                   world(ub, v1 + overhang, ze)], [(ru1, 0.0), (ru0, 0.0), (ru0, s), (ru1, s)])
    # The gable ends in plaster.
    tr = 1.0 - zr / height
    for (ua_, va, vb) in ((u0, v1, v0), (u1, v0, v1)):
        pa, pb, pc = world(ua_, va, height), world(ua_, vb, height), world(ua_, vm, zr)
        uu = (pa[0] + pa[1]) / PLASTER_REPEAT
        walls.polygon([pa, pb, pc], [(uu, 0.0), (uu + 2 * half / PLASTER_REPEAT, 0.0),
                                     (uu + half / PLASTER_REPEAT, tr)])

    if door_side is not None:
        a = corners[door_side]
        b = corners[(door_side + 1) % 4]
        length = math.hypot(b[0] - a[0], b[1] - a[1])
        dx, dy = (b[0] - a[0]) / length, (b[1] - a[1]) / length
        out = (dy * 1.0, -dx * 1.0)  # one unit outside the wall
        mid = length / 2.0
        w, h = 44.0, 150.0
        p = lambda s, z: (a[0] + dx * s + out[0], a[1] + dy * s + out[1], z)
        doors.polygon([p(mid - w, 0.0), p(mid + w, 0.0), p(mid + w, h), p(mid - w, h)],
                      [(0.0, 1.0), (1.0, 1.0), (1.0, 0.0), (0.0, 0.0)])


def wall(comment, x0, x1, y0, y1, height):
    block(comment, x0, x1, y0, y1, height, 24.0, 12.0)


def build_ground():
    """Wet cobbles over the whole area, in 8 x 8 tiles so the tree can cull them."""
    x0, x1, y0, y1 = AREA
    n = 8
    for j in range(n):
        for i in range(n):
            ax, bx = x0 + (x1 - x0) * i / n, x0 + (x1 - x0) * (i + 1) / n
            ay, by = y0 + (y1 - y0) * j / n, y0 + (y1 - y0) * (j + 1) / n
            c = COBBLE_REPEAT
            ground.polygon([(ax, ay, 0.0), (bx, ay, 0.0), (bx, by, 0.0), (ax, by, 0.0)],
                           [(ax / c, -ay / c), (bx / c, -ay / c), (bx / c, -by / c),
                            (ax / c, -by / c)])


def build_sky():
    """A dome around the eye, faces turned inwards; t runs from the zenith (0) down to the
    horizon (1), u goes twice round the texture."""
    radius = 2400.0
    segments = 16
    rings = [-20.0, 0.0, 12.0, 25.0, 40.0, 58.0, 76.0, 90.0]

    def point(elev, k):
        a = 2.0 * math.pi * k / segments
        e = math.radians(elev)
        return (radius * math.cos(e) * math.cos(a), radius * math.cos(e) * math.sin(a),
                radius * math.sin(e))

    def tex(elev, k):
        return (2.0 * k / segments, min(1.0, 1.0 - elev / 90.0))

    for r in range(len(rings) - 1):
        lo, hi = rings[r], rings[r + 1]
        for k in range(segments):
            if hi == 90.0:
                sky.polygon([point(lo, k), point(hi, k), point(lo, k + 1)],
                            [tex(lo, k), ((2.0 * k + 1.0) / segments, 0.0), tex(lo, k + 1)])
            else:
                sky.polygon([point(lo, k), point(hi, k), point(hi, k + 1), point(lo, k + 1)],
                            [tex(lo, k), tex(hi, k), tex(hi, k + 1), tex(lo, k + 1)])


def build_level():
    x0, x1, y0, y1 = AREA
    # The enclosing walls, just inside the area.
    wall('west wall', x0, x0 + T, y0, y1, WALL_OUTER)
    wall('east wall', x1 - T, x1, y0, y1, WALL_OUTER)
    wall('south wall', x0 + T, x1 - T, y0, y0 + T, WALL_OUTER)
    wall('north wall', x0 + T, x1 - T, y1 - T, y1, WALL_OUTER)
    # The wall between the main square (north) and the two south yards. The gate at
    # x 100..300 is where the hinged door will stand; x 2500..2700 is an open passage.
    ay = -1500.0
    wall('square south wall, west part', x0 + T, 100.0, ay - T / 2, ay + T / 2, WALL_INNER)
    wall('square south wall, middle part', 300.0, 2500.0, ay - T / 2, ay + T / 2, WALL_INNER)
    wall('square south wall, east part', 2700.0, x1 - T, ay - T / 2, ay + T / 2, WALL_INNER)
    # The wall between the main square and the east yard. The gate at y -300..-60 is where
    # the sliding gate will stand.
    bx = 1800.0
    wall('east yard wall, south part', bx - T / 2, bx + T / 2, ay + T / 2, -300.0, WALL_INNER)
    wall('east yard wall, north part', bx - T / 2, bx + T / 2, -60.0, y1 - T, WALL_INNER)
    # The alley wall between the two south yards, open at y -2500..-2300.
    cx = 1000.0
    wall('south alley wall, south part', cx - T / 2, cx + T / 2, y0 + T, -2500.0, WALL_INNER)
    wall('south alley wall, north part', cx - T / 2, cx + T / 2, -2300.0, ay - T / 2, WALL_INNER)
    # Houses that break the sight lines; the number picks the side with the door
    # (0 south, 1 east, 2 north, 3 west).
    block('house on the square, north-west', -900.0, -430.0, 380.0, 820.0, 320.0, 150.0, 30.0, 0)
    block('house on the square, south-east', 520.0, 1080.0, -1060.0, -700.0, 300.0, 130.0, 30.0, 2)
    block('house in the east yard', 2350.0, 2800.0, 150.0, 700.0, 320.0, 150.0, 30.0, 3)
    block('house in the south-west yard', -820.0, -260.0, -2560.0, -2100.0, 300.0, 140.0, 30.0, 2)
    block('long house in the south-east yard', 1650.0, 2600.0, -2520.0, -2180.0, 300.0, 130.0,
          30.0, 2)
    build_ground()
    build_sky()


def render_minimap(path, size=256):
    """The mini map: the level seen from straight above over exactly the area (x to the
    right, y up), drawn from the same meshes with a depth test, as a binary PPM. Each face
    takes its texture's mean colour (from the palette), lit from the north-west; faces that
    do not look up (wall sides, gables, eave undersides) are not seen from above."""
    x0, x1, y0, y1 = AREA
    light = (-0.3, 0.4, 0.866)
    ll = math.sqrt(sum(v * v for v in light))
    light = tuple(v / ll for v in light)
    base = {'ground': (92, 85, 74), 'roofs': (120, 62, 44), 'walls': (178, 160, 128),
            'doors': (62, 40, 26)}
    depth = [[-1e30] * size for _ in range(size)]
    pixels = [[(0, 0, 0)] * size for _ in range(size)]
    for name, mesh in (('ground', ground), ('walls', walls), ('roofs', roofs), ('doors', doors)):
        for vi, _, ni in mesh.faces:
            n = tuple(float(v) for v in mesh.normals[ni[0]])
            if n[2] <= 1e-6:
                continue
            pts = []
            for k in vi:
                x, y, z = (float(v) for v in mesh.verts[k])
                pts.append(((x - x0) / (x1 - x0) * size, (y1 - y) / (y1 - y0) * size, z))
            (ax, ay, az), (bx, by, bz), (cx, cy, cz) = pts
            area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax)
            if abs(area) < 1e-12:
                continue
            shade = 0.45 + 0.55 * max(0.0, n[0] * light[0] + n[1] * light[1] + n[2] * light[2])
            colour = tuple(min(255, int(c * shade + 0.5)) for c in base[name])
            lo_x = max(0, int(math.floor(min(ax, bx, cx))))
            hi_x = min(size - 1, int(math.ceil(max(ax, bx, cx))))
            lo_y = max(0, int(math.floor(min(ay, by, cy))))
            hi_y = min(size - 1, int(math.ceil(max(ay, by, cy))))
            for j in range(lo_y, hi_y + 1):
                py = j + 0.5
                for i in range(lo_x, hi_x + 1):
                    px = i + 0.5
                    w0 = ((bx - px) * (cy - py) - (by - py) * (cx - px)) / area
                    w1 = ((cx - px) * (ay - py) - (cy - py) * (ax - px)) / area
                    w2 = 1.0 - w0 - w1
                    if w0 < 0.0 or w1 < 0.0 or w2 < 0.0:
                        continue
                    z = w0 * az + w1 * bz + w2 * cz
                    if z >= depth[j][i]:
                        depth[j][i] = z
                        pixels[j][i] = colour
    data = bytearray(b'P6\n%d %d\n255\n' % (size, size))
    for row in pixels:
        for r, g, b in row:
            data += bytes((r, g, b))
    os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    with open(path, 'wb') as f:
        f.write(bytes(data))


def hull_text(points):
    return ' '.join('{%s,%s}' % (num(x), num(y)) for x, y in points)


def document():
    rows = [('courtyard_ground.asm', TEX_COBBLES), ('courtyard_walls.asm', TEX_PLASTER),
            ('courtyard_roofs.asm', TEX_ROOF), ('courtyard_doors.asm', TEX_WOOD)]
    out = []
    out.append('// The courtyard: the main square of wet cobbles, the east yard behind the sliding\n'
               '// gate, the two south yards behind the hinged door and the alley. Made by\n'
               '// tools/levelgen/levelgen.py; edit the script, not this file.\n')
    out.append('Scene = {\n')
    out.append('\tname = game_scene;\n')
    out.append('\tsky_texture = "%s";\n' % TEX_SKY)
    out.append('\tsky_mesh = "%s/sky_dome.asm";\n' % MESH_DIR)
    out.append('\tmax_size = 6600,6200;\n')
    out.append('\tcamera_pos = -1050,-700,220;\n')
    out.append('\tcamera_target = -800,500,160;\n')
    out.append('\tcamera_up = 0,0,1;\n')
    out.append('\tcamera_fov = 60;\n')
    out.append('\tambient_sound = "%s";\n' % SOUND_RAIN)
    out.append('\tWorldGeometry = {\n')
    out.append('\t\tname = courtyard;\n')
    out.append('\t\t// Rebuilt on every load: the tree is written to the data folder and read back.\n')
    out.append('\t\tABTBuilder = {\n')
    out.append('\t\t\toutput_file = "data/%s";\n' % ABT_FILE)
    out.append('\t\t\tmax_faces = 100;\n')
    out.append('\t\t\tmax_depth = 6;\n')
    out.append('\t\t\tObjects = {\n')
    for mesh, tex in rows:
        out.append('\t\t\t\t{%s/%s,%s}\n' % (MESH_DIR, mesh, tex))
    out.append('\t\t\t}\n')
    out.append('\t\t}\n')
    out.append('\t\tfile = "%s";\n' % ABT_FILE)
    out.append('\t\t// Collision: one rectangle per wall piece and house, counter-clockwise.\n')
    for comment, points in hulls:
        out.append('\t\t// %s\n' % comment)
        out.append('\t\tPhysicsStaticGeometry = { hull = { %s } }\n' % hull_text(points))
    out.append('\t}\n')
    out.append(actors())
    out.append('}\n')
    return ''.join(out)


# The people and things of the level. The hero starts in the south of the square, facing the
# yard door's switch a few steps ahead; three patrols walk their rounds (the square's passes
# the hero's start); a sliding gate closes the east
# yard and a hinged door the south-west yard, each opened by a switch on the square's side of
# its wall; health kits and the strongbox wait in the yards.
HERO_START = (40.0, -1250.0)
SOUND_RAIN = 'resources/sounds/rain_loop.ogg'
SOUND_DOOR = 'resources/sounds/door_move.wav'
SOUND_SWITCH = 'resources/sounds/switch_click.wav'
SOUND_PICKUP = 'resources/sounds/item_pickup.wav'
SKINNED_SHADER = 'resources/shaders/quat_skinned_geometry.cg'

# Each patrol: name, its round (counter-clockwise rectangles in open ground; every waypoint
# links to the one before and the one after it, both ways), and its wait at a waypoint.
PATROLS = [
    ('patrol_square', [(-400.0, -1100.0), (300.0, -1100.0), (300.0, 150.0), (-400.0, 150.0)],
     (2.0, 4.0)),
    ('patrol_east_yard', [(2100.0, -1200.0), (3000.0, -1200.0), (3000.0, -100.0),
                          (2100.0, -100.0)], (3.0, 5.0)),
    ('patrol_south_yard', [(-1100.0, -1800.0), (700.0, -1800.0), (700.0, -2800.0),
                           (-1100.0, -2800.0)], (2.0, 4.0)),
]


def walk_path_text(points):
    """A round of waypoints, each linked to the one before and the one after it, the lower
    index first. A patrol back from a chase (or one that starts on a waypoint) may read a
    waypoint's first link as a place in that waypoint's own list of two: with the lower
    index first it is always 0 or 1. Going on, a patrol avoids the link it came by, so it
    keeps walking the same way round."""
    n = len(points)
    rows = []
    for i, (x, y) in enumerate(points):
        links = sorted({(i + 1) % n, (i - 1) % n})
        rows.append('\t\t\t{ {%s} %s,%s,1 }\n' % (','.join(str(k) for k in links), num(x), num(y)))
    return ''.join(rows)


# The sliding gate stands against the east face of the east yard wall, across its gap (y
# -300..-60), and slides north along the wall's face to open: never into the wall, whose
# body it would push. The hinged door turns on a hinge 5 units east of the gap's west end
# (the wall piece's body must stay clear of the swinging leaf) and swings into the
# south-west yard. Both switches stand on the square's side of their walls, their rays
# pointing into the square.
GATE = {'name': 'east_gate', 'closed': (1826.0, -180.0), 'open': (1826.0, 60.0),
        'switch': 'east_gate_switch', 'switch_at': (1740.0, -400.0), 'switch_ray': (-1.0, 0.0),
        'opened': 'The east gate slides open', 'closed_text': 'The east gate is shut'}
DOOR = {'name': 'yard_door', 'hinge': (105.0, -1500.0), 'switch': 'yard_door_switch',
        'switch_at': (40.0, -1440.0), 'switch_ray': (0.0, 1.0),
        'opened': 'The yard door swings open', 'closed_text': 'The yard door is shut'}
# Items: kind, name, place, value, message.
ITEMS = [
    ('HEALTH', 'medkit_east_yard', (3080.0, 1050.0), 25.0,
     'A medical kit: +25 health'),
    ('HEALTH', 'medkit_south_yard', (-1230.0, -2840.0), 25.0,
     'A medical kit: +25 health'),
    ('TARGET', 'strongbox', (2120.0, -2820.0), 0.0,
     'The strongbox is yours'),
]


def rectangle_hull(x0, y0, x1, y1):
    return hull_text([(x0, y0), (x1, y0), (x1, y1), (x0, y1)])


def switch_text(name, at, ray):
    # The post stands 40 units in front of the wall on a solid plinth that reaches from the
    # switch box's front back to the wall and past the post's sides: a figure walking up to
    # it stops square in front of the box, within the ray's reach (15 units), and a long
    # frame cannot carry it through the plinth.
    depth = 40.0  # from the ray's origin back to the wall's face
    if ray[0] == 0.0:
        plinth = rectangle_hull(-30, -depth * ray[1], 30, 15 * ray[1])
        if ray[1] < 0:
            plinth = rectangle_hull(-30, -15, 30, depth)
    else:
        plinth = rectangle_hull(-depth * ray[0], -30, 15 * ray[0], 30)
        if ray[0] < 0:
            plinth = rectangle_hull(-15, -30, depth, 30)
    out = ['\tTrigger = {\n', '\t\tname = %s;\n' % name,
           '\t\topen_model = "resources/models/switch_on.asm";\n',
           '\t\tclosed_model = "resources/models/switch_off.asm";\n',
           '\t\topen_texture = "resources/textures/switch_on.dds";\n',
           '\t\tclosed_texture = "resources/textures/switch_off.dds";\n',
           '\t\topen_time = 1;\n', '\t\tclose_time = 1;\n',
           '\t\tswitch_sound = "%s";\n' % SOUND_SWITCH,
           '\t\tPhysicsRayCast = { position = %s,%s; direction = %s,%s; }\n'
           % (num(at[0]), num(at[1]), num(ray[0]), num(ray[1])),
           '\t\tPhysicsStaticGeometry = { hull = { %s } pos = %s,%s; }\n'
           % (plinth, num(at[0]), num(at[1])),
           '\t}\n']
    return ''.join(out)


def doors_text():
    out = []
    g = GATE
    out.append('\t// The east yard\'s sliding gate and its switch.\n')
    out.append('\tDoors = {\n')
    out.append('\t\tname = %s;\n' % g['name'])
    out.append('\t\tmodel = "resources/models/gate_slider.asm";\n')
    out.append('\t\ttexture = "%s";\n' % TEX_WOOD)
    out.append('\t\tactivator_name = %s;\n' % g['switch'])
    out.append('\t\topen_message = "%s";\n' % g['opened'])
    out.append('\t\tclose_message = "%s";\n' % g['closed_text'])
    out.append('\t\topen_pos = %s,%s;\n' % tuple(num(v) for v in g['open']))
    out.append('\t\tclosed_pos = %s,%s;\n' % tuple(num(v) for v in g['closed']))
    out.append('\t\tmove_sound = "%s";\n' % SOUND_DOOR)
    out.append('\t\ttype = slider;\n')
    out.append('\t\tinit_state = 0;\n')
    out.append('\t\tPhysicsCharacter = { pos = %s,%s; move_speed = 600; hull = { %s } }\n'
               % (num(g['closed'][0]), num(g['closed'][1]), rectangle_hull(-5, -120, 5, 120)))
    out.append('\t}\n')
    out.append(switch_text(g['switch'], g['switch_at'], g['switch_ray']))
    d = DOOR
    out.append('\t// The south-west yard\'s hinged door and its switch. A turning door aims at a point\n')
    out.append('\t// 1000 times its pose vector away; long vectors keep that point in the right\n')
    out.append('\t// direction from the hinge whatever the door\'s place.\n')
    out.append('\tDoors = {\n')
    out.append('\t\tname = %s;\n' % d['name'])
    out.append('\t\tmodel = "resources/models/door_hinged.asm";\n')
    out.append('\t\ttexture = "%s";\n' % TEX_WOOD)
    out.append('\t\tactivator_name = %s;\n' % d['switch'])
    out.append('\t\topen_message = "%s";\n' % d['opened'])
    out.append('\t\tclose_message = "%s";\n' % d['closed_text'])
    out.append('\t\topen_pos = 0,-1000;\n')
    out.append('\t\tclosed_pos = 1000,0;\n')
    out.append('\t\tmove_sound = "%s";\n' % SOUND_DOOR)
    out.append('\t\ttype = rotate;\n')
    out.append('\t\tinit_state = 0;\n')
    out.append('\t\tPhysicsCharacter = { pos = %s,%s; hull = { %s } }\n'
               % (num(d['hinge'][0]), num(d['hinge'][1]), rectangle_hull(0, -4, 190, 4)))
    out.append('\t}\n')
    out.append(switch_text(d['switch'], d['switch_at'], d['switch_ray']))
    return ''.join(out)


def items_text():
    out = ['\t// Things to pick up.\n']
    for kind, name, (x, y), value, message in ITEMS:
        model, texture, half = (('medkit.asm', 'resources/textures/item_medkit.dds', 16.0)
                                if kind == 'HEALTH' else
                                ('strongbox.asm', TEX_WOOD, 22.0))
        out.append('\tItem = {\n')
        out.append('\t\tname = %s;\n' % name)
        out.append('\t\tmodel = "resources/models/%s";\n' % model)
        out.append('\t\ttexture = "%s";\n' % texture)
        out.append('\t\tpickup_message = "%s";\n' % message)
        out.append('\t\tpickup_sound = "%s";\n' % SOUND_PICKUP)
        out.append('\t\ttype = %s;\n' % kind)
        out.append('\t\tvalue = %s;\n' % num(value))
        out.append('\t\tPhysicsStaticGeometry = { hull = { %s } pos = %s,%s; }\n'
                   % (rectangle_hull(-half, -half, half, half), num(x), num(y)))
        out.append('\t}\n')
    return ''.join(out)


def actors():
    out = []
    out.append('\t// The hero.\n')
    out.append('\tPlayer = {\n')
    out.append('\t\tname = main_player;\n')
    out.append('\t\tPhysicsCharacter = { pos = %s,%s; radius = 30; }\n' % tuple(num(v) for v in HERO_START))
    out.append('\t}\n')
    for name, points, wait in PATROLS:
        x, y = points[0]
        out.append('\t// A patrol and its round.\n')
        out.append('\tEnemyPoliceDude = {\n')
        out.append('\t\tname = %s;\n' % name)
        out.append('\t\tEnemy = {\n')
        out.append('\t\t\tPhysicsCharacter = { pos = %s,%s; radius = 30; }\n' % (num(x), num(y)))
        out.append('\t\t\ttexture = "resources/textures/polic.dds";\n')
        out.append('\t\t\tshader = "%s";\n' % SKINNED_SHADER)
        out.append('\t\t\tmesh = "resources/models/polic.aam";\n')
        for key, anim in (('ani_idle', 'idle'), ('ani_walk', 'walk'), ('ani_run', 'run'),
                          ('ani_attack', 'attack')):
            out.append('\t\t\t%s = "animations/polic_%s.cfo";\n' % (key, anim))
        out.append('\t\t}\n')
        out.append('\t\twalk_path = {\n')
        out.append(walk_path_text(points))
        out.append('\t\t}\n')
        out.append('\t\twait_at_target = %s,%s;\n' % (num(wait[0]), num(wait[1])))
        out.append('\t}\n')
    out.append(doors_text())
    out.append(items_text())
    return ''.join(out)


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'w', encoding='ascii', newline='\n') as f:
        f.write(text)


def main():
    if len(sys.argv) not in (2, 3):
        print('usage: levelgen.py <data-dir> [minimap.ppm]')
        return 2
    out = sys.argv[1]
    build_level()
    meshes = os.path.join(out, MESH_DIR)
    write(os.path.join(meshes, 'courtyard_ground.asm'), ground.text('The courtyard: wet cobbles'))
    write(os.path.join(meshes, 'courtyard_walls.asm'), walls.text('The courtyard: plaster walls'))
    write(os.path.join(meshes, 'courtyard_roofs.asm'), roofs.text('The courtyard: roof tiles'))
    write(os.path.join(meshes, 'courtyard_doors.asm'), doors.text('The courtyard: house doors'))
    write(os.path.join(meshes, 'sky_dome.asm'), sky.text('The sky dome around the eye'))
    write(os.path.join(out, 'scenes', 'enemy_test.cfo'), document())
    if len(sys.argv) == 3:
        render_minimap(sys.argv[2])
    return 0


if __name__ == '__main__':
    sys.exit(main())
