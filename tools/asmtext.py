"""What the level and prop generators share: numbers as the files write them, and a static
mesh built from flat polygons and written as ASM text (tables "verts", "texcoords",
"normals" and "faces", one row per line). The same input gives the same bytes everywhere:
every number has at most four decimals."""

import math


def num(v):
    """A number as the files write it: at most four decimals, no trailing zeros."""
    text = '%.4f' % v
    text = text.rstrip('0').rstrip('.')
    return '0' if text in ('-0', '') else text


class Mesh:
    def __init__(self):
        self.verts, self.uvs, self.normals, self.faces = [], [], [], []
        self._vi, self._ti, self._ni = {}, {}, {}

    def _index(self, table, lookup, key):
        if key not in lookup:
            lookup[key] = len(table)
            table.append(key)
        return lookup[key]

    def polygon(self, points, uvs):
        """A flat convex polygon, counter-clockwise seen from its front, as a fan."""
        a, b, c = points[0], points[1], points[2]
        d = [b[i] - a[i] for i in range(3)]
        e = [c[i] - a[i] for i in range(3)]
        n = [d[1] * e[2] - d[2] * e[1], d[2] * e[0] - d[0] * e[2], d[0] * e[1] - d[1] * e[0]]
        length = math.sqrt(sum(x * x for x in n))
        n = tuple(num(x / length) for x in n)
        ni = self._index(self.normals, self._ni, n)
        vi = [self._index(self.verts, self._vi, tuple(num(x) for x in p)) for p in points]
        ti = [self._index(self.uvs, self._ti, tuple(num(x) for x in t)) for t in uvs]
        for k in range(1, len(points) - 1):
            self.faces.append(((vi[0], vi[k], vi[k + 1]), (ti[0], ti[k], ti[k + 1]), (ni, ni, ni)))

    def text(self, comment):
        """The ASM document, after `comment` (one or more lines) as line comments."""
        out = ['// ' + line + '\n' for line in comment.split('\n')]
        out.append('verts = {\n')
        out += ['{%s}\n' % ','.join(v) for v in self.verts]
        out.append('}\ntexcoords = {\n')
        out += ['{%s}\n' % ','.join(t) for t in self.uvs]
        out.append('}\nnormals = {\n')
        out += ['{%s}\n' % ','.join(n) for n in self.normals]
        out.append('}\nfaces = {\n')
        for v, t, n in self.faces:
            out.append('{ {%d,%d,%d} {%d,%d,%d} {%d,%d,%d} }\n' % (v + t + n))
        out.append('}\n')
        return ''.join(out)
