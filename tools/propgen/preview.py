#!/usr/bin/env python3
"""Draws the props of propgen.py without the engine, for checking them by eye.

    python3 tools/propgen/preview.py <out.png> [data-dir]

Each model is read back from its ASM file in <data-dir>/resources/models (the repository's
data/ by default), textured from the DDS files committed in data/, lit from the upper left front and
seen at dusk: an orthographic view from the south-west, a little from above, on the fog
colour of the figures, at one scale for all of them, with a figure-high post (80 units) for
size. Props and switches stand in their own cells; the hinged door also appears open.
"""

import math
import os
import struct
import sys
import zlib

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def load_dxt1(path):
    """The top picture of a DXT1 DDS file as (width, height, rows of RGB tuples)."""
    with open(path, 'rb') as f:
        data = f.read()
    height, width = struct.unpack_from('<II', data, 12)
    pixels = [[(0, 0, 0)] * width for _ in range(height)]

    def rgb(c):
        return ((c >> 11 & 31) * 255 // 31, (c >> 5 & 63) * 255 // 63, (c & 31) * 255 // 31)
    pos = 128
    for by in range(0, height, 4):
        for bx in range(0, width, 4):
            c0, c1, bits = struct.unpack_from('<HHI', data, pos)
            pos += 8
            a, b = rgb(c0), rgb(c1)
            if c0 > c1:
                pal = [a, b, tuple((2 * a[i] + b[i]) // 3 for i in range(3)),
                       tuple((a[i] + 2 * b[i]) // 3 for i in range(3))]
            else:
                pal = [a, b, tuple((a[i] + b[i]) // 2 for i in range(3)), (0, 0, 0)]
            for k in range(16):
                pixels[by + k // 4][bx + k % 4] = pal[(bits >> (2 * k)) & 3]
    return width, height, pixels


def read_asm(path):
    """verts, texcoords, normals and faces of an ASM file as propgen writes it."""
    tables = {'verts': [], 'texcoords': [], 'normals': [], 'faces': []}
    current = None
    with open(path) as f:
        for line in f:
            line = line.strip()
            if not line or line.startswith('//'):
                continue
            if line.endswith('= {'):
                current = line.split()[0]
                continue
            if line == '}':
                current = None
                continue
            if current == 'faces':
                rows = [r.strip(' {}') for r in line.split('} {')]
                tables['faces'].append([tuple(int(v) for v in r.split(',')) for r in rows])
            elif current is not None:
                tables[current].append(tuple(float(v) for v in line.strip('{}').split(',')))
    return tables


class Canvas:
    def __init__(self, width, height, colour):
        self.w, self.h = width, height
        self.rgb = [[colour] * width for _ in range(height)]
        self.depth = [[-1e30] * width for _ in range(height)]

    def png(self, path):
        raw = bytearray()
        for row in self.rgb:
            raw.append(0)
            for r, g, b in row:
                raw += bytes((r, g, b))

        def chunk(kind, data):
            body = kind + data
            return struct.pack('>I', len(data)) + body + struct.pack('>I', zlib.crc32(body))
        data = b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', self.w, self.h,
                                                                   8, 2, 0, 0, 0))
        data += chunk(b'IDAT', zlib.compress(bytes(raw), 9)) + chunk(b'IEND', b'')
        with open(path, 'wb') as f:
            f.write(data)


FOG = (128, 128, 140)  # the figures' fog (0.5, 0.5, 0.55)
LIGHT = (1.0, 1.0, 0.6)  # the props' light colour


def view_matrix(azimuth, pitch):
    """Rows of an orthographic camera whose eye lies towards `azimuth` (degrees from +x,
    counter-clockwise) and `pitch` above the ground: screen right, screen up, towards the
    eye."""
    ca, sa = math.cos(math.radians(azimuth)), math.sin(math.radians(azimuth))
    cp, sp = math.cos(math.radians(pitch)), math.sin(math.radians(pitch))
    back = (cp * ca, cp * sa, sp)
    right = (-sa, ca, 0.0)
    up = (back[1] * right[2] - back[2] * right[1], back[2] * right[0] - back[0] * right[2],
          back[0] * right[1] - back[1] * right[0])
    return right, up, back


def draw(canvas, mesh, texture, ox, oy, scale, turn=0.0, offset=(0.0, 0.0, 0.0),
         azimuth=-120.0, pitch=22.0):
    right, up, back = view_matrix(azimuth, pitch)
    light = (-0.45, -0.6, 0.66)
    ll = math.sqrt(sum(v * v for v in light))
    light = tuple(v / ll for v in light)
    tw, th, tex = texture
    c, s = math.cos(math.radians(turn)), math.sin(math.radians(turn))

    def place(p):
        x, y, z = p
        return (c * x - s * y + offset[0], s * x + c * y + offset[1], z + offset[2])

    def turn_n(n):
        return (c * n[0] - s * n[1], s * n[0] + c * n[1], n[2])
    for vi, ti, ni in mesh['faces']:
        n = turn_n(mesh['normals'][ni[0]])
        if sum(n[i] * back[i] for i in range(3)) <= 0.0:
            continue  # back faces are culled, as in the game
        pts = []
        for k in range(3):
            p = place(mesh['verts'][vi[k]])
            pts.append((ox + scale * sum(p[i] * right[i] for i in range(3)),
                        oy - scale * sum(p[i] * up[i] for i in range(3)),
                        sum(p[i] * back[i] for i in range(3))))
        uv = [mesh['texcoords'][t] for t in ti]
        shade = 0.35 + 0.75 * max(0.0, sum(n[i] * light[i] for i in range(3)))
        (ax, ay, az), (bx, by, bz), (cx, cy, cz) = pts
        area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax)
        if abs(area) < 1e-9:
            continue
        for j in range(max(0, int(min(ay, by, cy))), min(canvas.h - 1, int(max(ay, by, cy))) + 1):
            py = j + 0.5
            for i in range(max(0, int(min(ax, bx, cx))),
                           min(canvas.w - 1, int(max(ax, bx, cx))) + 1):
                px = i + 0.5
                w0 = ((bx - px) * (cy - py) - (by - py) * (cx - px)) / area
                w1 = ((cx - px) * (ay - py) - (cy - py) * (ax - px)) / area
                w2 = 1.0 - w0 - w1
                if w0 < 0.0 or w1 < 0.0 or w2 < 0.0:
                    continue
                z = w0 * az + w1 * bz + w2 * cz
                if z <= canvas.depth[j][i]:
                    continue
                canvas.depth[j][i] = z
                u = w0 * uv[0][0] + w1 * uv[1][0] + w2 * uv[2][0]
                v = w0 * uv[0][1] + w1 * uv[1][1] + w2 * uv[2][1]
                r, g, b = tex[int(v * th) % th][int(u * tw) % tw]
                canvas.rgb[j][i] = tuple(min(255, int(ch * shade * LIGHT[k]))
                                         for k, ch in enumerate((r, g, b)))


def ruler(canvas, ox, oy, scale, height=80.0):
    """A figure-high post beside a prop, for its size: 80 units, the height of a character."""
    x = int(ox)
    for j in range(int(oy - height * scale * math.cos(math.radians(22.0))), int(oy) + 1):
        for i in (x, x + 1):
            if 0 <= j < canvas.h and 0 <= i < canvas.w:
                canvas.rgb[j][i] = (230, 200, 90)


def main():
    if len(sys.argv) not in (2, 3):
        print('usage: preview.py <out.png> [data-dir]')
        return 2
    data = sys.argv[2] if len(sys.argv) == 3 else os.path.join(ROOT, 'data')
    models = os.path.join(data, 'resources', 'models')
    textures = os.path.join(ROOT, 'data', 'resources', 'textures')
    wood = load_dxt1(os.path.join(textures, 'door_wood.dds'))
    cells = [  # model, texture, turn, cell column, cell row, scale
        ('gate_slider.asm', wood, 0.0, 0, 0, 0.85),
        ('door_hinged.asm', wood, 0.0, 1, 0, 0.85),
        ('door_hinged.asm', wood, 90.0, 2, 0, 0.85),
        ('switch_off.asm', load_dxt1(os.path.join(textures, 'switch_off.dds')), 0.0, 0, 1, 2.4),
        ('switch_on.asm', load_dxt1(os.path.join(textures, 'switch_on.dds')), 0.0, 1, 1, 2.4),
        ('medkit.asm', load_dxt1(os.path.join(textures, 'item_medkit.dds')), 0.0, 2, 1, 2.4),
        ('strongbox.asm', wood, 0.0, 3, 1, 2.4),
    ]
    cw, ch = 300, 330
    canvas = Canvas(cw * 4, ch * 2, FOG)
    for name, texture, turn, col, row, scale in cells:
        mesh = read_asm(os.path.join(models, name))
        ox, oy = col * cw + cw * 0.45, row * ch + ch * 0.88
        draw(canvas, mesh, texture, ox, oy, scale, turn)
        ruler(canvas, col * cw + 12, oy, scale)
    canvas.png(sys.argv[1])
    return 0


if __name__ == '__main__':
    sys.exit(main())
