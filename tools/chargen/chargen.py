#!/usr/bin/env python3
"""Writes the two skinned characters and their animations.

    python3 tools/chargen/chargen.py <data-dir>

Out come resources/models/orsin.aam (the hero) and resources/models/polic.aam (the patrol),
and four animation files for each under animations/. The output depends on nothing but this
file: every number is written with a fixed number of decimals, so the same script gives the
same bytes everywhere. docs/characters.md describes the figures, skeletons and motions.

Model space: z is up, the feet stand on z = 0 and the figure faces -y; its right hand is on
the -x side. Every bone's bind rotation is the identity, so a bone's pose rotation is the
inverse of its key and skinning is plain forward kinematics. A key is therefore written as
the conjugate of the wanted rotation of the bone relative to its parent.

The engine keeps every bone at its bind offset from its parent (position keys are read and
left alone), so the hips cannot move by themselves. They rise and fall through a lever: the
bone "Svira" sits behind the hips, and the pelvis "Gurni" hangs from it; turning the lever by
a small angle lowers the pelvis, and the pelvis turns back by the same angle, so it only moves.
"""

import math
import os
import sys

# Atlas layouts (pixels, y from the top of the picture, which is v = 0): the rectangles of
# tools/layouts/orsin.layout and tools/layouts/polic.layout that the models use.
ATLAS = 512.0
INSET = 3.0  # keeps UVs clear of the two-pixel seam around each region

ORSIN = {
    'face': (0, 0, 128, 128),
    'hair': (128, 0, 128, 128),
    'sleeve_l': (256, 0, 128, 128),  # left half of the coat sleeves
    'sleeve_r': (384, 0, 128, 128),
    'coat_front_r': (0, 128, 96, 192),  # the coat front's outer strips, either side of the
    'coat_front_l': (160, 128, 96, 192),  # jumper in the middle
    'jumper': (96, 128, 64, 192),
    'coat_back': (256, 128, 256, 192),
    'belt': (0, 320, 512, 32),
    'trousers_front': (0, 352, 256, 128),
    'trousers_back': (256, 352, 256, 128),
    'boots': (0, 480, 256, 32),
    'hands': (256, 480, 256, 32),
}

POLIC = {
    'face': (0, 0, 128, 128),
    'crown': (128, 0, 128, 64),
    'band': (128, 64, 128, 32),
    'visor': (128, 96, 128, 32),
    'sleeve_l': (256, 0, 128, 128),
    'sleeve_r': (384, 0, 128, 128),
    'jacket_front': (0, 128, 256, 192),
    'jacket_back': (256, 128, 256, 192),
    'belt': (0, 320, 512, 32),
    'trousers_front': (0, 352, 256, 128),
    'trousers_back': (256, 352, 256, 128),
    'boots': (0, 480, 256, 32),
    'hands': (256, 480, 256, 32),
}

# How the coat's right front strip spreads over its four sectors, from the side to the
# opening: most of the picture, with the buttons, goes to the sector beside the opening.
STRIP = (0.0, 0.1, 0.2, 0.3, 1.0)

# Drawing scales of the game and the speeds it moves the figures at (world units a second).
HERO_SCALE = 1.22
PATROL_SCALE = 0.8
WALK_SPEED = 100.0  # PhysicsCharacter moveSpeed 1000 settles at 100
RUN_SPEED = 150.0  # runSpeed 1500
# Frame rates the game plays the animations at.
HERO_RATES = {'idle': 20.0, 'walk': 70.0, 'run': 100.0, 'attack': 80.0}
PATROL_RATES = {'idle': 20.0, 'walk': 80.0, 'run': 80.0, 'attack': 100.0}


def num(v, places=4):
    """A number as the files write it: fixed decimals, no trailing zeros."""
    text = ('%.' + str(places) + 'f') % v
    text = text.rstrip('0').rstrip('.')
    return '0' if text in ('-0', '') else text


# ---------------------------------------------------------------- vectors and quaternions

def add(a, b):
    return (a[0] + b[0], a[1] + b[1], a[2] + b[2])


def sub(a, b):
    return (a[0] - b[0], a[1] - b[1], a[2] - b[2])


def mul(a, s):
    return (a[0] * s, a[1] * s, a[2] * s)


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def norm(a):
    length = math.sqrt(dot(a, a))
    return a if length == 0.0 else mul(a, 1.0 / length)


def qmul(p, q):
    return (p[0] * q[0] - p[1] * q[1] - p[2] * q[2] - p[3] * q[3],
            p[0] * q[1] + p[1] * q[0] + p[2] * q[3] - p[3] * q[2],
            p[0] * q[2] - p[1] * q[3] + p[2] * q[0] + p[3] * q[1],
            p[0] * q[3] + p[1] * q[2] - p[2] * q[1] + p[3] * q[0])


def qconj(q):
    return (q[0], -q[1], -q[2], -q[3])


def qrot(q, v):
    r = qmul(qmul(q, (0.0, v[0], v[1], v[2])), qconj(q))
    return (r[1], r[2], r[3])


def qaxis(axis, degrees):
    h = math.radians(degrees) / 2.0
    s = math.sin(h)
    return (math.cos(h), axis[0] * s, axis[1] * s, axis[2] * s)


def rx(deg):
    return qaxis((1.0, 0.0, 0.0), deg)


def ry(deg):
    return qaxis((0.0, 1.0, 0.0), deg)


def rz(deg):
    return qaxis((0.0, 0.0, 1.0), deg)


QI = (1.0, 0.0, 0.0, 0.0)


def qslerp(p, q, t):
    c = p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3] * q[3]
    c = max(-1.0, min(1.0, c))
    a = math.acos(c)
    if abs(a) < 1e-3:
        return p
    s = math.sin(a)
    k0, k1 = math.sin((1.0 - t) * a) / s, math.sin(t * a) / s
    return tuple(k0 * p[i] + k1 * q[i] for i in range(4))


# ---------------------------------------------------------------- skeleton

# One skeleton for both figures; the joint positions are fractions of the model's height and
# are scaled per figure. Parents come before their children.
BONE_NAMES = [
    'Sakne',  # 0 root, at the hips
    'Svira',  # 1 the lever behind the hips that lets the pelvis rise and fall
    'Gurni',  # 2 pelvis
    'Mugurkauls_vidus',  # 3 lower spine
    'Mugurkauls_krutis',  # 4 chest: the upper body starts here
    'Kakls',  # 5 neck
    'Galva',  # 6 head
    'Plecs_kr',  # 7 left shoulder (+x)
    'Augsdelms_kr',  # 8 left upper arm
    'Apaksdelms_kr',  # 9 left forearm
    'Plauksta_kr',  # 10 left hand
    'Plecs_lab',  # 11 right shoulder (-x)
    'Augsdelms_lab',  # 12 right upper arm
    'Apaksdelms_lab',  # 13 right forearm
    'Plauksta_lab',  # 14 right hand
    'Augsstilbs_kr',  # 15 left thigh
    'Apaksstilbs_kr',  # 16 left shin
    'Peda_kr',  # 17 left foot
    'Augsstilbs_lab',  # 18 right thigh
    'Apaksstilbs_lab',  # 19 right shin
    'Peda_lab',  # 20 right foot
]
PARENTS = [-1, 0, 1, 2, 3, 4, 5, 4, 7, 8, 9, 4, 11, 12, 13, 2, 15, 16, 2, 18, 19]
B = {name: i for i, name in enumerate(BONE_NAMES)}


class Build:
    """The proportions of one figure, as fractions of its height h (model units)."""

    def __init__(self, h, width, depth, shoulder, hip_x):
        self.h = h
        self.width = width  # scales torso widths
        self.depth = depth  # scales torso depths
        self.shoulder = shoulder  # x of the shoulder joint
        self.hip_x = hip_x  # x of the hip joints
        self.hip_z = 0.50
        self.knee_z = 0.275
        self.ankle_z = 0.045
        self.lever = 0.5  # distance of the lever behind the hips

    def joints(self):
        s, hx = self.shoulder, self.hip_x
        elbow, wrist = s + 0.022, s + 0.036
        frac = [
            (0, 0, self.hip_z), (0, self.lever, self.hip_z), (0, 0, self.hip_z),
            (0, 0, 0.60), (0, 0, 0.70), (0, 0, 0.835), (0, 0, 0.875),
            (0.02, 0, 0.80), (s, 0, 0.805), (elbow, 0, 0.625), (wrist, 0, 0.455),
            (-0.02, 0, 0.80), (-s, 0, 0.805), (-elbow, 0, 0.625), (-wrist, 0, 0.455),
            (hx, 0, self.hip_z), (hx, 0, self.knee_z), (hx, 0, self.ankle_z),
            (-hx, 0, self.hip_z), (-hx, 0, self.knee_z), (-hx, 0, self.ankle_z),
        ]
        return [mul(p, self.h) for p in frac]


def forward_kinematics(joints, local):
    """Pose of every bone: local rotations relative to the parent (identity where missing),
    offsets as bound. Returns (rotations, positions) in model space, as the engine skins."""
    rots, poss = [], []
    for i, parent in enumerate(PARENTS):
        q = local.get(i, QI)
        if parent < 0:
            rots.append(q)
            poss.append(joints[i])
        else:
            rots.append(qmul(rots[parent], q))
            poss.append(add(poss[parent], qrot(rots[parent], sub(joints[i], joints[parent]))))
    return rots, poss


def skin_point(p, weights, rots, poss, joints):
    out = (0.0, 0.0, 0.0)
    for bone, w in weights:
        moved = add(qrot(rots[bone], sub(p, joints[bone])), poss[bone])
        out = add(out, mul(moved, w))
    return out


# ---------------------------------------------------------------- mesh building

class Mesh:
    def __init__(self, atlas):
        self.atlas = atlas
        self.verts, self.weights, self.uvs, self.faces = [], [], [], []
        self._ti = {}

    def vertex(self, p, weights):
        self.verts.append(p)
        self.weights.append(clean_weights(weights))
        return len(self.verts) - 1

    def uv(self, region, fu, fv):
        x, y, w, h = self.atlas[region] if isinstance(region, str) else region
        u = (x + INSET + fu * (w - 2 * INSET)) / ATLAS
        v = (y + INSET + fv * (h - 2 * INSET)) / ATLAS
        key = (num(u, 5), num(v, 5))
        if key not in self._ti:
            self._ti[key] = len(self.uvs)
            self.uvs.append(key)
        return self._ti[key]

    def triangle(self, vi, ti, outward):
        a, b, c = (self.verts[i] for i in vi)
        n = cross(sub(b, a), sub(c, a))
        if dot(n, n) < 1e-12:
            return
        if dot(n, outward) < 0.0:
            vi = (vi[0], vi[2], vi[1])
            ti = (ti[0], ti[2], ti[1])
        self.faces.append((vi, ti))

    def normals(self):
        acc = [(0.0, 0.0, 0.0)] * len(self.verts)
        for vi, _ in self.faces:
            a, b, c = (self.verts[i] for i in vi)
            n = cross(sub(b, a), sub(c, a))
            for i in vi:
                acc[i] = add(acc[i], n)
        return [norm(n) if dot(n, n) > 0 else (0.0, 0.0, 1.0) for n in acc]


def clean_weights(weights):
    """At most four bones, the largest kept, summing to exactly 1 in the written decimals."""
    merged = {}
    for bone, w in weights:
        if w > 1e-6:
            merged[bone] = merged.get(bone, 0.0) + w
    items = sorted(merged.items(), key=lambda kv: (-kv[1], kv[0]))[:4]
    total = sum(w for _, w in items)
    items = [(b, round(w / total, 4)) for b, w in items]
    items = [(b, w) for b, w in items if w > 0.0]
    rest = round(1.0 - sum(w for _, w in items[1:]), 4)
    return [(items[0][0], rest)] + items[1:]


def ring_points(ring, m):
    c, rx_, ry_ = ring['c'], ring['rx'], ring['ry']
    ax, ay = ring.get('ax', (1.0, 0.0, 0.0)), ring.get('ay', (0.0, 1.0, 0.0))
    pts = []
    for j in range(m):
        t = -math.pi / 2 + 2 * math.pi * j / m
        p = add(c, add(mul(ax, rx_ * math.sin(t)), mul(ay, -ry_ * math.cos(t))))
        if 'floor' in ring and p[2] < ring['floor']:
            p = (p[0], p[1], ring['floor'])
        pts.append(p)
    return pts


def loft(mesh, rings, m, sector, caps=(), inside=False):
    """A tube through `rings` with `m` points a ring. sector(i, j) gives (region, u0, u1, v0,
    v1) for the quad between rings i, i+1 and points j, j+1, or None to leave it open. The
    point j = 0 is on the figure's right (-x), j = m/4 at the front (-y). caps: (ring index,
    apex, region) fans that close an end. With `inside` the faces look inwards."""
    idx = []
    for ring in rings:
        pts = ring_points(ring, m)
        idx.append([mesh.vertex(p, ring['w'](p)) for p in pts])
    for i in range(len(rings) - 1):
        axis_mid = mul(add(rings[i]['c'], rings[i + 1]['c']), 0.5)
        for j in range(m):
            s = sector(i, j)
            if s is None:
                continue
            region, u0, u1, v0, v1 = s
            j1 = (j + 1) % m
            a, b, c, d = idx[i][j], idx[i][j1], idx[i + 1][j1], idx[i + 1][j]
            ta, tb = mesh.uv(region, u0, v0), mesh.uv(region, u1, v0)
            tc, td = mesh.uv(region, u1, v1), mesh.uv(region, u0, v1)
            centre = mul(add(add(mesh.verts[a], mesh.verts[b]), add(mesh.verts[c],
                                                                    mesh.verts[d])), 0.25)
            out = sub(centre, axis_mid)
            if inside:
                out = mul(out, -1.0)
            mesh.triangle((a, b, c), (ta, tb, tc), out)
            mesh.triangle((a, c, d), (ta, tc, td), out)
    for i, apex, region in caps:
        ring = rings[i]
        tip = mesh.vertex(apex, ring['w'](apex))
        ttip = mesh.uv(region, 0.5, 0.5)
        outward = sub(apex, ring['c'])
        if dot(outward, outward) < 1e-12:
            other = rings[1]['c'] if i == 0 else rings[-2]['c']
            outward = sub(ring['c'], other)
        for j in range(m):
            j1 = (j + 1) % m
            tj = [mesh.uv(region, 0.5 + 0.45 * math.sin(2 * math.pi * k / m),
                          0.5 + 0.45 * math.cos(2 * math.pi * k / m)) for k in (j, j1)]
            mesh.triangle((idx[i][j], idx[i][j1], tip), (tj[0], tj[1], ttip), outward)
    return idx


def half_sector(front, back, m, v_of):
    """Front half of the ring on one region, back half on another, u across each half as it
    is seen from that side."""
    def sector(i, j):
        half = m // 2
        if j < half:
            return (front, j / half, (j + 1) / half, v_of(i), v_of(i + 1))
        return (back, (j - half) / half, (j - half + 1) / half, v_of(i), v_of(i + 1))
    return sector


def around_sector(region, m, v_of):
    def sector(i, j):
        return (region, j / m, (j + 1) / m, v_of(i), v_of(i + 1))
    return sector


def const_w(*pairs):
    return lambda p: list(pairs)


# ---------------------------------------------------------------- the figures

def build_figure(kind):
    """The mesh of one figure: 'orsin', the hero in his long open coat, or 'polic', the
    heavier patrol in a short jacket and peaked cap."""
    hero = kind == 'orsin'
    if hero:
        fig = Build(65.6, width=1.0, depth=1.0, shoulder=0.105, hip_x=0.052)
        mesh = Mesh(ORSIN)
    else:
        fig = Build(100.0, width=1.22, depth=1.3, shoulder=0.125, hip_x=0.06)
        mesh = Mesh(POLIC)
    h = fig.h
    joints = fig.joints()
    W, D = fig.width, fig.depth

    def at(x, y, z):
        return (x * h, y * h, z * h)

    # Torso: from the crotch up to the neck. (z, half width, half depth, weights)
    m = 20
    blend = lambda a, b, t: [(a, 1.0 - t), (b, t)]
    torso = [
        (0.455, 0.085, 0.058, blend(B['Gurni'], B['Gurni'], 0.0)),
        (0.50, 0.097, 0.064, blend(B['Gurni'], B['Gurni'], 0.0)),
        (0.555, 0.093, 0.062, blend(B['Gurni'], B['Mugurkauls_vidus'], 0.3)),
        (0.60, 0.088, 0.060 if hero else 0.066, blend(B['Gurni'], B['Mugurkauls_vidus'], 0.7)),
        (0.65, 0.090, 0.062 if hero else 0.068, blend(B['Mugurkauls_vidus'],
                                                      B['Mugurkauls_krutis'], 0.3)),
        (0.70, 0.095, 0.066, blend(B['Mugurkauls_vidus'], B['Mugurkauls_krutis'], 0.7)),
        (0.76, 0.100, 0.066, blend(B['Mugurkauls_krutis'], B['Mugurkauls_krutis'], 0.0)),
        (0.805, 0.108, 0.058, blend(B['Mugurkauls_krutis'], B['Mugurkauls_krutis'], 0.0)),
        (0.83, 0.075, 0.045, blend(B['Mugurkauls_krutis'], B['Kakls'], 0.2)),
        (0.845, 0.040, 0.036, blend(B['Mugurkauls_krutis'], B['Kakls'], 0.5)),
    ]
    rings = []
    for z, hw, hd, wl in torso:
        def wfun(p, wl=wl, z=z):
            # Near the shoulders the sides follow the shoulder bones.
            out = list(wl)
            if z > 0.74:
                side = B['Plecs_kr'] if p[0] > 0 else B['Plecs_lab']
                t = min(1.0, max(0.0, (abs(p[0]) / h - 0.05) / 0.05)) * 0.5
                out = [(b, w * (1.0 - t)) for b, w in out] + [(side, t)]
            return out
        rings.append({'c': at(0, 0, z), 'rx': hw * W * h, 'ry': hd * D * h, 'w': wfun})
    top_z, bottom_z = 0.845, 0.455
    if hero:
        coat_top, coat_bottom = 0.845, 0.30

        def cv(z):
            return (coat_top - z) / (coat_top - coat_bottom)

        def torso_sector(i, j):
            z0, z1 = torso[i][0], torso[i + 1][0]
            half = m // 2
            if j >= half:  # back
                fu = (j - half) / half
                if z1 <= 0.60:
                    return ('trousers_back', fu, fu + 1 / half, (0.60 - z0) / 0.15,
                            (0.60 - z1) / 0.15)
                return ('coat_back', fu, fu + 1 / half, cv(z0), cv(z1))
            # Front: the open coat's two strips, the jumper and belt in the middle.
            mid0, mid1 = 4, 6
            if z1 <= 0.555:
                return ('trousers_front', j / half, (j + 1) / half, (0.555 - z0) / 0.10,
                        (0.555 - z1) / 0.10)
            if mid0 <= j < mid1:
                if z1 <= 0.60:
                    return ('belt', 0.4 + 0.1 * (j - mid0), 0.5 + 0.1 * (j - mid0), 0.0, 1.0)
                return ('jumper', (j - mid0) / 2, (j - mid0 + 1) / 2, cv(z0), cv(z1))
            if j < mid0:
                return ('coat_front_r', STRIP[j], STRIP[j + 1], cv(z0), cv(z1))
            return ('coat_front_l', (j - mid1) / (half - mid1), (j - mid1 + 1) / (half - mid1),
                    cv(z0), cv(z1))
    else:
        def jv(z):
            return (0.845 - z) / (0.845 - 0.49)

        def torso_sector(i, j):
            z0, z1 = torso[i][0], torso[i + 1][0]
            half = m // 2
            back = j >= half
            fu = (j - half) / half if back else j / half
            if z1 <= 0.50:
                region = 'trousers_back' if back else 'trousers_front'
                return (region, fu, fu + 1 / half, 0.0, 0.3)
            if abs(z0 - 0.555) < 1e-9:  # the belt, all round
                return ('belt', j / m, (j + 1) / m, 0.0, 1.0)
            region = 'jacket_back' if back else 'jacket_front'
            return (region, fu, fu + 1 / half, jv(z0), jv(z1))
    # A sector's v values belong to its lower ring, then its upper one.
    loft(mesh, rings, m, torso_sector,
         caps=[(0, at(0, 0, bottom_z - 0.01), 'trousers_front')])

    if hero:
        # The coat's skirt, open at the front, from the waist to above the knees; both
        # sides drawn so that the lining shows through the opening.
        skirt = [(0.60, 0.094, 0.066, 0.0), (0.52, 0.106, 0.072, 0.25),
                 (0.44, 0.116, 0.080, 0.5), (0.36, 0.124, 0.086, 0.75),
                 (0.30, 0.128, 0.090, 1.0)]
        srings = []
        for z, hw, hd, t in reversed(skirt):
            def sw(p, t=t):
                left = min(1.0, max(0.0, 0.5 + p[0] / (0.08 * h)))
                k = 0.6 * t
                return [(B['Gurni'], 1.0 - k), (B['Augsstilbs_kr'], k * left),
                        (B['Augsstilbs_lab'], k * (1.0 - left))]
            srings.append({'c': at(0, 0, z), 'rx': hw * h, 'ry': hd * h, 'w': sw, 'z': z})

        def skirt_sector(i, j):
            z0, z1 = srings[i]['z'], srings[i + 1]['z']
            half = m // 2
            if j >= half:
                fu = (j - half) / half
                return ('coat_back', fu, fu + 1 / half, cv(z0), cv(z1))
            if 4 <= j < 6:
                return None
            if j < 4:
                return ('coat_front_r', STRIP[j], STRIP[j + 1], cv(z0), cv(z1))
            return ('coat_front_l', (j - 6) / 4, (j - 5) / 4, cv(z0), cv(z1))
        loft(mesh, srings, m, skirt_sector)
        loft(mesh, srings, m, skirt_sector, inside=True)

    # Neck and head.
    neck_w = [(B['Kakls'], 1.0)]
    hw_head = 0.046 if hero else 0.05
    neck = [{'c': at(0, 0.004, 0.83), 'rx': 0.030 * h, 'ry': 0.030 * h,
             'w': const_w((B['Kakls'], 0.6), (B['Mugurkauls_krutis'], 0.4))},
            {'c': at(0, 0.006, 0.88), 'rx': 0.028 * h, 'ry': 0.028 * h,
             'w': const_w((B['Kakls'], 0.5), (B['Galva'], 0.5))}]
    loft(mesh, neck, 12, around_sector('hands', 12, lambda i: i / 1.0))
    del neck_w
    head_top = 1.0 if hero else 0.975
    chin = 0.868
    head_profile = [(0.868, 0.55, 0.55), (0.885, 0.80, 0.85), (0.905, 0.90, 0.95),
                    (0.93, 0.97, 1.0), (0.955, 1.0, 1.0), (0.975, 0.95, 0.95),
                    (0.99, 0.72, 0.75)]
    span = head_top - chin
    hrings = []
    for f, sx, sy in head_profile:
        z = chin + (f - 0.868) / (1.0 - 0.868) * span
        hrings.append({'c': at(0, 0.008, z), 'rx': hw_head * sx * h, 'ry': 0.058 * sy * h,
                       'z': z,
                       'w': const_w((B['Galva'], 1.0)) if f > 0.87
                       else const_w((B['Galva'], 0.8), (B['Kakls'], 0.2))})
    mh = 16

    def hv(z):
        return (head_top - z) / span

    def head_sector(i, j):
        z0, z1 = hrings[i]['z'], hrings[i + 1]['z']
        half = mh // 2
        if j < half:
            if hero and z0 >= chin + 0.8 * span:
                return ('hair', j / half, (j + 1) / half, 0.0, 0.25)
            return ('face', j / half, (j + 1) / half, hv(z0), hv(z1))
        fu = (j - half) / half
        if hero:
            return ('hair', fu, fu + 1 / half, hv(z0), hv(z1))
        return ('hands', fu, fu + 1 / half, 0.1, 0.9)
    loft(mesh, hrings, mh, head_sector,
         caps=[(0, at(0, 0.008, chin - 0.004), 'hands'),
               (len(hrings) - 1, at(0, 0.008, head_top), 'hair' if hero else 'crown')])

    if not hero:
        # The peaked cap: band, crown widening to a flat top tipped forward, and the visor.
        cw = const_w((B['Galva'], 1.0))
        cap = [{'c': at(0, 0.008, 0.945), 'rx': 0.053 * h, 'ry': 0.062 * h, 'w': cw},
               {'c': at(0, 0.008, 0.968), 'rx': 0.055 * h, 'ry': 0.064 * h, 'w': cw},
               {'c': at(0, 0.002, 0.99), 'rx': 0.064 * h, 'ry': 0.074 * h, 'w': cw},
               {'c': at(0, -0.002, 1.0), 'rx': 0.064 * h, 'ry': 0.074 * h, 'w': cw}]

        def cap_sector(i, j):
            if i == 0:
                return ('band', j / mh, (j + 1) / mh, 0.0, 1.0)
            return ('crown', j / mh, (j + 1) / mh, 0.2 * i, 0.2 * i + 0.2)
        loft(mesh, cap, mh, cap_sector, caps=[(3, at(0, -0.002, 1.0), 'crown')])
        # Visor: the front half of the band's lower ring, out to a half ellipse.
        inner = ring_points(cap[0], mh)
        vis = []
        for j in range(mh // 2 + 1):
            t = -math.pi / 2 + 2 * math.pi * j / mh
            p_in = inner[j % mh]
            p_out = add(cap[0]['c'], (0.058 * h * math.sin(t), -0.115 * h * math.cos(t),
                                      -0.012 * h * math.cos(t)))
            vis.append((p_in, p_out))
        for side in (1.0, -1.0):
            ids = [(mesh.vertex(a, cw(a)), mesh.vertex(b, cw(b))) for a, b in vis]
            for j in range(mh // 2):
                a, b = ids[j]
                c, d = ids[j + 1]
                fu0, fu1 = j / (mh // 2), (j + 1) / (mh // 2)
                ta, tb = mesh.uv('visor', fu0, 0.0), mesh.uv('visor', fu0, 1.0)
                tc, td = mesh.uv('visor', fu1, 0.0), mesh.uv('visor', fu1, 1.0)
                up = (0.0, 0.0, side)
                mesh.triangle((a, b, d), (ta, tb, td), up)
                mesh.triangle((a, d, c), (ta, td, tc), up)

    # Arms: shoulder to wrist, then the hand.
    for side, suffix, sleeve in ((1.0, 'kr', 'sleeve_l'), (-1.0, 'lab', 'sleeve_r')):
        sh, up, fo, ha = (B['Plecs_' + suffix], B['Augsdelms_' + suffix],
                          B['Apaksdelms_' + suffix], B['Plauksta_' + suffix])
        s_j, e_j, w_j = joints[up], joints[fo], joints[ha]
        r_top = (0.036 if hero else 0.042) * h
        arm = [(0.0, r_top, [(sh, 0.5), (up, 0.5)]), (0.18, r_top * 0.95, [(up, 1.0)]),
               (0.45, r_top * 0.85, [(up, 1.0)]), (0.5, r_top * 0.80, [(up, 0.5), (fo, 0.5)]),
               (0.56, r_top * 0.78, [(fo, 1.0)]), (0.85, r_top * 0.70, [(fo, 1.0)]),
               (1.0, r_top * 0.74, [(fo, 0.6), (ha, 0.4)])]
        arings = []
        for t, r, wl in arm:
            if t <= 0.5:
                c = add(s_j, mul(sub(e_j, s_j), t / 0.5))
            else:
                c = add(e_j, mul(sub(w_j, e_j), (t - 0.5) / 0.5))
            c = add(c, (0.0, 0.0, 0.012 * h if t == 0.0 else 0.0))
            arings.append({'c': c, 'rx': r, 'ry': r * 1.05, 'w': const_w(*wl)})
        ma = 12
        loft(mesh, list(reversed(arings)), ma,
             around_sector(sleeve, ma, lambda i: 1.0 - i / (len(arm) - 1)))
        # Hand: a flat block from inside the cuff down to the finger tips.
        hand_len = 0.085 * h
        hw, hd = (0.016 if hero else 0.019) * h, (0.026 if hero else 0.03) * h
        hr = []
        for t, sx, sy, wl in ((-0.1, 0.9, 0.7, [(ha, 0.6), (fo, 0.4)]),
                              (0.25, 1.0, 0.9, [(ha, 1.0)]), (0.7, 1.0, 1.0, [(ha, 1.0)]),
                              (1.0, 0.7, 0.7, [(ha, 1.0)])):
            c = add(w_j, (side * 0.004 * h, 0.0, -hand_len * t))
            hr.append({'c': c, 'rx': hw * sx, 'ry': hd * sy, 'w': const_w(*wl)})
        hand_region = (256 + (0 if side > 0 else 128), 480, 128, 32)
        loft(mesh, list(reversed(hr)), 8, around_sector(hand_region, 8, lambda i: i / 3.0),
             caps=[(0, add(w_j, (side * 0.004 * h, 0.0, -hand_len * 1.04)), hand_region)])

    # Legs: hip to ankle, boots below the calf, and the feet.
    for side, suffix in ((1.0, 'kr'), (-1.0, 'lab')):
        th, sn, ft = B['Augsstilbs_' + suffix], B['Apaksstilbs_' + suffix], B['Peda_' + suffix]
        x = joints[th][0]
        r0 = (0.056 if hero else 0.066) * h
        leg = [(0.51, r0, [(B['Gurni'], 0.5), (th, 0.5)]), (0.45, r0 * 0.92, [(th, 1.0)]),
               (0.37, r0 * 0.78, [(th, 1.0)]), (0.30, r0 * 0.68, [(th, 0.8), (sn, 0.2)]),
               (0.275, r0 * 0.66, [(th, 0.5), (sn, 0.5)]), (0.25, r0 * 0.66, [(sn, 0.8),
                                                                           (th, 0.2)]),
               (0.19, r0 * 0.70, [(sn, 1.0)]), (0.13, r0 * 0.62, [(sn, 1.0)]),
               (0.08, r0 * 0.55, [(sn, 1.0)]), (0.045, r0 * 0.55, [(sn, 0.5), (ft, 0.5)])]
        lrings = [{'c': (x, 0.0, z * h), 'rx': r, 'ry': r, 'z': z, 'w': const_w(*wl)}
                  for z, r, wl in reversed(leg)]
        ml = 12

        def leg_sector(i, j, lrings=lrings):
            z0, z1 = lrings[i]['z'], lrings[i + 1]['z']
            if z1 <= 0.135:
                return ('boots', j / ml, (j + 1) / ml, 0.0, 1.0)
            half = ml // 2
            back = j >= half
            fu = (j - half) / half if back else j / half
            region = 'trousers_back' if back else 'trousers_front'
            return (region, fu, fu + 1 / half, (0.51 - z0) / 0.38, (0.51 - z1) / 0.38)
        loft(mesh, lrings, ml, leg_sector)
        # The foot, lofted from the heel to the toe; its sole lies on z = 0.
        foot = [(0.035, 0.60, 0.62), (0.0, 0.66, 0.80), (-0.05, 0.66, 0.55),
                (-0.09, 0.56, 0.40), (-0.105, 0.42, 0.30)]
        fr = []
        for y, sx, sz in foot:
            rz_ = sz * 0.06 * h
            # The ring's lowest points are pressed flat into the sole.
            fr.append({'c': (x + side * 0.004 * h, y * h, rz_ * 0.8), 'rx': sx * 0.055 * h,
                       'ry': rz_, 'ax': (1.0, 0.0, 0.0), 'ay': (0.0, 0.0, 1.0),
                       'floor': 0.0, 'w': const_w((ft, 1.0))})
        loft(mesh, fr, 12, around_sector('boots', 12, lambda i: i / 4.0),
             caps=[(0, sub(fr[0]['c'], (0.0, -0.01 * h, 0.0)), 'boots'),
                   (4, add(fr[4]['c'], (0.0, -0.008 * h, 0.0)), 'boots')])
    return fig, joints, mesh


def aam_text(kind, joints, mesh):
    title = 'the hero' if kind == 'orsin' else 'the police patrol'
    out = ['// Velmora: %s. Made by tools/chargen/chargen.py; edit the script, not this file.\n'
           % title, 'verts = {\n']
    out += ['{%s}\n' % ','.join(num(c) for c in v) for v in mesh.verts]
    out.append('}\ntexcoords = {\n')
    out += ['{%s}\n' % ','.join(t) for t in mesh.uvs]
    out.append('}\nnormals = {\n')
    out += ['{%s}\n' % ','.join(num(c) for c in n) for n in mesh.normals()]
    out.append('}\nfaces = {\n')
    for vi, ti in mesh.faces:
        out.append('{ {%d,%d,%d} {%d,%d,%d} {%d,%d,%d} }\n' % (vi + ti + vi))
    out.append('}\nbones = {\n')
    for i, name in enumerate(BONE_NAMES):
        x, y, z = joints[i]
        m = '1,0,0,%s,0,1,0,%s,0,0,1,%s,0,0,0,1' % (num(x), num(y), num(z))
        out.append('{ name = %s; parent_id = %d; transf = {%s} }\n' % (name, PARENTS[i], m))
    out.append('}\nweights = {\n')
    for ws in mesh.weights:
        ids = [b for b, _ in ws] + [-1] * (4 - len(ws))
        wv = [w for _, w in ws] + [0.0] * (4 - len(ws))
        out.append('{ {%s} {%s} }\n' % (','.join(str(i) for i in ids),
                                         ','.join(num(w) for w in wv)))
    out.append('}\n')
    return ''.join(out)


# ---------------------------------------------------------------- animations

def leg_ik(hip, target, l1, l2):
    """Thigh and shin angles about x (degrees, rotating a leg that hangs along -z) that put
    the ankle on `target`, with the knee bending forward (-y)."""
    dy, dz = target[1] - hip[1], target[2] - hip[2]
    d = math.hypot(dy, dz)
    d = min(d, (l1 + l2) * 0.9999)
    base = math.atan2(dy, -dz)  # angle of the hip-ankle line from straight down
    cos_a = (l1 * l1 + d * d - l2 * l2) / (2 * l1 * d)
    a = math.acos(max(-1.0, min(1.0, cos_a)))
    thigh = base - a  # knee forward: towards -y
    ky, kz = hip[1] + l1 * math.sin(thigh), hip[2] - l1 * math.cos(thigh)
    shin = math.atan2(target[1] - ky, -(target[2] - kz))
    return math.degrees(thigh), math.degrees(shin)


class Gait:
    """A looping walk or run: `frames` keys a cycle, `stride` model units a cycle (two
    steps), `stance` the fraction of the cycle a foot is on the ground, `reach` how far the
    stance leg may stretch (of its full length), `lift` the ankle's rise in the swing and
    `toe` how far the foot hangs toe down in the middle of it (degrees)."""

    def __init__(self, frames, stride, stance, reach, lift, toe, arm, elbow, lean, twist):
        self.frames, self.stride, self.stance = frames, stride, stance
        self.reach, self.lift, self.toe = reach, lift, toe
        self.arm, self.elbow, self.lean, self.twist = arm, elbow, lean, twist


def foot_path(g, q, ankle_z):
    """Ankle (y, z) relative to the hips' ground point at leg phase q (0: heel down)."""
    d = g.stride * g.stance
    if q < g.stance:
        s = q / g.stance
        return -d / 2 + d * s, ankle_z
    s = (q - g.stance) / (1.0 - g.stance)
    y = d / 2 - d * (0.5 - 0.5 * math.cos(math.pi * s))
    return y, ankle_z + g.lift * math.sin(math.pi * s)


def gait_poses(fig, joints, g):
    """Local rotations of every frame 0..frames (the last a copy of the first)."""
    h = fig.h
    l1 = joints[B['Augsstilbs_kr']][2] - joints[B['Apaksstilbs_kr']][2]
    l2 = joints[B['Apaksstilbs_kr']][2] - joints[B['Peda_kr']][2]
    hip_z, ankle_z = joints[B['Gurni']][2], joints[B['Peda_kr']][2]
    full = l1 + l2

    def allowed(p):
        """The highest the hips may be at phase p for both ankles to be reachable."""
        best = hip_z
        for off in (0.0, 0.5):
            q = (p + off) % 1.0
            y, z = foot_path(g, q, ankle_z)
            r = g.reach * full if q < g.stance else 0.995 * full
            best = min(best, z + math.sqrt(max(0.0, r * r - y * y)))
        return best
    samples = 400
    need = [allowed(k / samples) for k in range(samples)]
    curve = 20.0 * full  # how sharply the hips may change height, per cycle squared

    def hips(p):
        best = hip_z
        for k in range(samples):
            dp = abs(p - k / samples)
            dp = min(dp, 1.0 - dp)
            best = min(best, need[k] + curve * dp * dp)
        return best

    lever = joints[B['Svira']][1] - joints[B['Gurni']][1]
    poses = []
    for f in range(g.frames):
        p = f / g.frames
        drop = hip_z - hips(p)
        phi = math.degrees(math.asin(min(1.0, drop / lever)))
        local = {B['Svira']: rx(phi), B['Gurni']: rx(-phi)}
        rots, poss = forward_kinematics(joints, local)
        pelvis = poss[B['Gurni']]
        for off, suffix in ((0.0, 'kr'), (0.5, 'lab')):
            q = (p + off) % 1.0
            y, z = foot_path(g, q, ankle_z)
            th = B['Augsstilbs_' + suffix]
            hip = add(pelvis, sub(joints[th], joints[B['Gurni']]))
            a_th, a_sn = leg_ik(hip, (hip[0], y, z), l1, l2)
            # Level on the ground; in the swing the foot hangs toe down, as much as the ankle
            # is lifted, so the toe stays clear of the ground.
            hang = 0.0
            if q >= g.stance:
                hang = g.toe * math.sin(math.pi * (q - g.stance) / (1.0 - g.stance))
            local[th] = rx(a_th)
            local[th + 1] = rx(a_sn - a_th)
            local[th + 2] = rx(hang - a_sn)
        # The arms swing against the legs; the chest turns with the forward arm.
        c = math.cos(2 * math.pi * p)
        local[B['Augsdelms_kr']] = rx(g.arm * c)
        local[B['Augsdelms_lab']] = rx(-g.arm * c)
        local[B['Apaksdelms_kr']] = rx(-g.elbow - 0.3 * g.elbow * max(0.0, -c))
        local[B['Apaksdelms_lab']] = rx(-g.elbow - 0.3 * g.elbow * max(0.0, c))
        local[B['Mugurkauls_vidus']] = rx(g.lean * 0.5)
        local[B['Mugurkauls_krutis']] = qmul(rx(g.lean * 0.5), rz(g.twist * c))
        local[B['Galva']] = rx(-g.lean * 0.6)
        poses.append(local)
    poses.append(dict(poses[0]))
    return poses


def idle_poses():
    poses = []
    frames = 60
    for f in range(0, frames + 1, 5):
        s = math.sin(2 * math.pi * f / frames)
        local = {
            B['Mugurkauls_vidus']: rx(0.6 * s),
            B['Mugurkauls_krutis']: rx(-1.5 * s),
            B['Kakls']: rx(0.5 * s),
            B['Galva']: rx(0.4 * s),
            B['Plecs_kr']: ry(-1.0 * s),
            B['Plecs_lab']: ry(1.0 * s),
            B['Augsdelms_kr']: ry(-3.0),
            B['Augsdelms_lab']: ry(3.0),
            B['Apaksdelms_kr']: rx(-8.0 - 1.5 * s),
            B['Apaksdelms_lab']: rx(-8.0 - 1.5 * s),
        }
        poses.append((f, local))
    return poses


def attack_poses():
    """The right arm's strike, all from the chest outward: wind up with the hand behind the
    head, strike down and forward with the chest turning into it, follow through, recover."""
    keys = [
        # frame, chest twist, chest bend, right upper arm, right forearm, right hand, left arm
        (0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0),
        (10, -22.0, -6.0, -150.0, -95.0, 20.0, -25.0),
        (14, -24.0, -8.0, -160.0, -100.0, 25.0, -30.0),
        (20, 26.0, 12.0, -80.0, -10.0, -10.0, 10.0),
        (25, 30.0, 14.0, -45.0, -15.0, -15.0, 15.0),
        (33, 10.0, 4.0, -15.0, -10.0, 0.0, 5.0),
        (40, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0),
    ]
    poses = []
    for f, twist, bend, upper, fore, hand, left in keys:
        local = {
            B['Mugurkauls_krutis']: qmul(rz(twist), rx(bend)),
            B['Kakls']: rz(-twist * 0.5),
            B['Plecs_lab']: rz(twist * 0.3),
            B['Augsdelms_lab']: qmul(ry(-8.0 * abs(upper) / 160.0), rx(upper)),
            B['Apaksdelms_lab']: rx(fore),
            B['Plauksta_lab']: rx(hand),
            B['Augsdelms_kr']: rx(left),
            B['Apaksdelms_kr']: rx(-40.0 * abs(left) / 30.0),
        }
        poses.append((f, local))
    return poses


def canonical(q):
    return q if q[0] >= 0.0 else tuple(-c for c in q)


def anim_text(title, frames_and_poses):
    """Each bone's track: the conjugate of its wanted local rotation at every key."""
    bones = sorted({b for _, local in frames_and_poses for b in local})
    out = ['// Velmora: %s. Made by tools/chargen/chargen.py; edit the script, not this file.\n'
           % title]
    for b in bones:
        out.append('%s = {\n\trot = {\n' % BONE_NAMES[b])
        for f, local in frames_and_poses:
            key = canonical(qconj(local.get(b, QI)))
            out.append('\t\t{%d,%s}\n' % (f, ','.join(num(c, 6) for c in key)))
        out.append('\t}\n}\n')
    return ''.join(out)


def figure_gaits(kind, fig):
    """The walk and run of a figure, matched to the speed the game moves it at: the ground
    speed in model units is the drawn speed over the drawing scale."""
    hero = kind == 'orsin'
    scale = HERO_SCALE if hero else PATROL_SCALE
    rates = HERO_RATES if hero else PATROL_RATES
    h = fig.h
    walk_frames = 48 if hero else 55
    run_frames = 72 if hero else 58
    walk_stride = WALK_SPEED / scale * walk_frames / rates['walk']
    run_stride = RUN_SPEED / scale * run_frames / rates['run']
    walk = Gait(walk_frames, walk_stride, 0.56, 0.995, 0.05 * h, 15.0, 18.0, 14.0, 3.0, 4.0)
    run = Gait(run_frames, run_stride, 0.33, 0.995, 0.10 * h, 25.0, 32.0, 75.0, 10.0, 8.0)
    return walk, run


def build_all():
    """Everything both figures need: {kind: (fig, joints, mesh, {anim: [(frame, local)]})}."""
    result = {}
    for kind in ('orsin', 'polic'):
        fig, joints, mesh = build_figure(kind)
        walk, run = figure_gaits(kind, fig)
        anims = {
            'idle': idle_poses(),
            'walk': list(enumerate(gait_poses(fig, joints, walk))),
            'run': list(enumerate(gait_poses(fig, joints, run))),
            'attack': attack_poses(),
        }
        result[kind] = (fig, joints, mesh, anims, walk, run)
    return result


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'w', encoding='ascii', newline='\n') as f:
        f.write(text)


def main():
    if len(sys.argv) != 2:
        print('usage: chargen.py <data-dir>')
        return 2
    out = sys.argv[1]
    titles = {'idle': 'standing, breathing', 'walk': 'walking', 'run': 'running',
              'attack': 'the strike of the right arm'}
    for kind, (fig, joints, mesh, anims, _, _) in build_all().items():
        write(os.path.join(out, 'resources', 'models', kind + '.aam'),
              aam_text(kind, joints, mesh))
        for name, poses in anims.items():
            who = 'the hero' if kind == 'orsin' else 'the patrol'
            write(os.path.join(out, 'animations', '%s_%s.cfo' % (kind, name)),
                  anim_text('%s %s' % (who, titles[name]), poses))
    return 0


if __name__ == '__main__':
    sys.exit(main())
