#!/usr/bin/env python3
"""Draws the characters of chargen.py without the engine, for checking them by eye.

    python3 tools/chargen/preview.py <out.png> [sheet|walk|run|attack|idle|top]

"sheet" (the default) is the contact picture of docs/characters.png: both figures in the bind
pose, textured from the committed atlases, from the front and from their right side, as tall
as the game draws them, on a grid of 10 drawn units. The others show
frames of an animation, posed by the same forward kinematics as the engine's, from the side
(the attack from the front). Triangles are filled flat in the mean colour of the atlas region
their UVs fall in, lit from the upper left front.
"""

import math
import os
import struct
import sys
import zlib

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import chargen  # noqa: E402

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def layout_colours(name):
    rects = []
    with open(os.path.join(ROOT, 'tools', 'layouts', name + '.layout')) as f:
        for line in f:
            line = line.split('#')[0].split()
            if line and line[0] == 'rect':
                x, y, w, h, r, g, b = (int(v) for v in line[1:8])
                rects.append(((x, y, w, h), (r, g, b)))
    return rects


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


def region_colour(rects, u, v):
    px, py = u * 512.0, v * 512.0
    found = (255, 0, 255)
    for (x, y, w, h), col in rects:  # the last region that holds the point, as drawn
        if x <= px <= x + w and y <= py <= y + h:
            found = col
    return found


class Canvas:
    def __init__(self, w, h, bg=(236, 232, 224)):
        self.w, self.h = w, h
        self.px = [list(bg) for _ in range(w * h)]
        self.depth = [-1e30] * (w * h)

    def put(self, x, y, col):
        if 0 <= x < self.w and 0 <= y < self.h:
            self.px[y * self.w + x] = list(col)

    def triangle(self, pts, col, uvs=None, texture=None):
        """pts: three (x, y, depth) in pixels; larger depth is nearer. With a texture, col
        is a brightness and each pixel takes the texel at its interpolated UV."""
        xs = [p[0] for p in pts]
        ys = [p[1] for p in pts]
        x0, x1 = max(0, int(min(xs))), min(self.w - 1, int(max(xs)) + 1)
        y0, y1 = max(0, int(min(ys))), min(self.h - 1, int(max(ys)) + 1)
        (ax, ay, az), (bx, by, bz), (cx, cy, cz) = pts
        area = (bx - ax) * (cy - ay) - (by - ay) * (cx - ax)
        if abs(area) < 1e-9:
            return
        for y in range(y0, y1 + 1):
            for x in range(x0, x1 + 1):
                fx, fy = x + 0.5, y + 0.5
                w0 = ((bx - fx) * (cy - fy) - (by - fy) * (cx - fx)) / area
                w1 = ((cx - fx) * (ay - fy) - (cy - fy) * (ax - fx)) / area
                w2 = 1.0 - w0 - w1
                if w0 < 0 or w1 < 0 or w2 < 0:
                    continue
                z = w0 * az + w1 * bz + w2 * cz
                i = y * self.w + x
                if z > self.depth[i]:
                    self.depth[i] = z
                    if texture is None:
                        self.px[i] = list(col)
                    else:
                        tw, th, texels = texture
                        u = w0 * uvs[0][0] + w1 * uvs[1][0] + w2 * uvs[2][0]
                        v = w0 * uvs[0][1] + w1 * uvs[1][1] + w2 * uvs[2][1]
                        t = texels[min(th - 1, int(v * th))][min(tw - 1, int(u * tw))]
                        self.px[i] = [min(255, int(c * col)) for c in t]

    def line(self, x0, y0, x1, y1, col):
        n = int(max(abs(x1 - x0), abs(y1 - y0))) + 1
        for k in range(n + 1):
            t = k / n
            self.put(int(x0 + (x1 - x0) * t), int(y0 + (y1 - y0) * t), col)

    def png(self, path):
        raw = bytearray()
        for y in range(self.h):
            raw.append(0)
            for x in range(self.w):
                raw.extend(bytes(self.px[y * self.w + x]))

        def chunk(kind, data):
            body = kind + data
            return struct.pack('>I', len(data)) + body + struct.pack('>I', zlib.crc32(body))
        data = b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', self.w, self.h,
                                                                  8, 2, 0, 0, 0))
        data += chunk(b'IDAT', zlib.compress(bytes(raw), 9)) + chunk(b'IEND', b'')
        with open(path, 'wb') as f:
            f.write(data)


VIEWS = {
    # screen right, screen up, towards the eye
    'front': ((1, 0, 0), (0, 0, 1), (0, -1, 0)),
    'side': ((0, -1, 0), (0, 0, 1), (-1, 0, 0)),  # from the figure's right
    'top': ((1, 0, 0), (0, -1, 0), (0, 0, 1)),
    'back': ((-1, 0, 0), (0, 0, 1), (0, 1, 0)),
}
LIGHT = chargen.norm((-0.4, -0.7, 0.6))


def draw(canvas, mesh, positions, rects, view, ox, oy, scale, texture=None):
    right, up, eye = VIEWS[view]
    for vi, ti in mesh.faces:
        a, b, c = (positions[i] for i in vi)
        n = chargen.cross(chargen.sub(b, a), chargen.sub(c, a))
        n = chargen.norm(n)
        if chargen.dot(n, eye) <= 0.0:  # back faces culled, as the game draws
            continue
        u = sum(float(mesh.uvs[t][0]) for t in ti) / 3.0
        v = sum(float(mesh.uvs[t][1]) for t in ti) / 3.0
        shade = 0.45 + 0.55 * max(0.0, chargen.dot(n, LIGHT))
        pts = [(ox + chargen.dot(p, right) * scale, oy - chargen.dot(p, up) * scale,
                chargen.dot(p, eye)) for p in (a, b, c)]
        if texture is not None:
            uvs = [(float(mesh.uvs[t][0]), float(mesh.uvs[t][1])) for t in ti]
            canvas.triangle(pts, shade, uvs, texture)
            continue
        col = region_colour(rects, u, v)
        col = tuple(min(255, int(k * shade)) for k in col)
        canvas.triangle(pts, col)


def posed(joints, mesh, local):
    rots, poss = chargen.forward_kinematics(joints, local)
    return [chargen.skin_point(p, w, rots, poss, joints) for p, w in zip(mesh.verts, mesh.weights)]


def sample(poses, frame):
    """The pose at a float frame, as the engine samples: slerp between the keys around it."""
    frames = [f for f, _ in poses]
    i = max(k for k, f in enumerate(frames) if f <= frame)
    j = min(i + 1, len(frames) - 1)
    t = 0.0 if j == i else (frame - frames[i]) / (frames[j] - frames[i])
    bones = set(poses[i][1]) | set(poses[j][1])
    return {b: chargen.qslerp(poses[i][1].get(b, chargen.QI), poses[j][1].get(b, chargen.QI), t)
            for b in bones}


def grid(canvas, ox, oy, scale, width, height, step=10.0):
    col = (200, 196, 188)
    k = 0
    while k * step * scale <= height:
        y = int(oy - k * step * scale)
        canvas.line(ox - width / 2, y, ox + width / 2, y, col)
        k += 1
    canvas.line(ox - width / 2, oy, ox + width / 2, oy, (120, 110, 100))


def main():
    out = sys.argv[1]
    what = sys.argv[2] if len(sys.argv) > 2 else 'sheet'
    figures = chargen.build_all()
    if what in ('sheet', 'back'):
        # Textured from the committed atlases; "back" shows the figures from behind.
        views = ('front', 'side') if what == 'sheet' else ('back', 'side')
        canvas = Canvas(880, 400)
        x = 110
        for kind in ('orsin', 'polic'):
            fig, joints, mesh, _, _, _ = figures[kind]
            drawn = chargen.HERO_SCALE if kind == 'orsin' else chargen.PATROL_SCALE
            scale = 4.4 * drawn  # pixels per model unit: both as tall as the game draws them
            rects = layout_colours(kind)
            atlas = 'orsin_d.dds' if kind == 'orsin' else 'polic.dds'
            texture = load_dxt1(os.path.join(ROOT, 'data', 'resources', 'textures', atlas))
            for view in views:
                grid(canvas, x, 380, 4.4, 200, 370)
                draw(canvas, mesh, mesh.verts, rects, view, x, 380, scale, texture)
                x += 220
        canvas.png(out)
        return 0
    kind = os.environ.get('FIGURE', 'orsin')
    fig, joints, mesh, anims, walk, run = figures[kind]
    rects = layout_colours(kind)
    poses = anims[what if what != 'top' else 'walk']
    last = poses[-1][0]
    count = 8
    scale = 300.0 / fig.h
    canvas = Canvas(count * 150, 340)
    view = 'front' if what == 'attack' else ('top' if what == 'top' else 'side')
    for k in range(count):
        frame = last * k / count
        pos = posed(joints, mesh, sample(poses, frame))
        ox, oy = 75 + k * 150, 320 if view != 'top' else 170
        grid(canvas, ox, oy, scale, 140, 300)
        draw(canvas, mesh, pos, rects, view, ox, oy, scale)
    canvas.png(out)
    return 0


if __name__ == '__main__':
    sys.exit(main())
