#!/usr/bin/env python3
"""Checks that every include of the engine runs down the layer table.

    scripts/check_layers.py [--root FOLDER] [--table FILE]

Reads the table under "## Layers" in docs/CONVENTIONS.md (or --table): one row per layer,
lowest first, with its rank in the first column and the files it holds in the third as
back-quoted paths ("`source/cfo/`" is a folder, anything else a glob such as
"`source/scene/scene.*`"; a glob wins over a folder). Then it reads every `#include "..."`
of source/ under the root and fails, naming file and line, on

- a file that no row of the table holds;
- an include of a file of a higher rank, or of another layer of the same rank (layers of
  one rank stand side by side and meet through events only: game and gui);
- a cycle of files that include each other, directly or around a loop.

Includes that name no file under source/ (system and library headers) are not checked.
Standard library only; exits 0 when the tree is clean, 1 otherwise.
"""

import argparse
import fnmatch
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
CODE_SUFFIXES = ('.h', '.cpp')


class Layer:
    def __init__(self, rank, name, folders, globs, row):
        self.rank = rank
        self.name = name
        self.folders = folders
        self.globs = globs
        self.row = row

    def __repr__(self):
        return "'%s' (rank %d)" % (self.name, self.rank)


def read_table(path):
    """The layers of the table, in table order. Raises ValueError on a malformed table."""
    with open(path, encoding='utf-8') as f:
        lines = f.read().split('\n')
    try:
        start = lines.index('## Layers')
    except ValueError:
        raise ValueError('%s: no "## Layers" section' % path)
    layers = []
    for number, line in enumerate(lines[start + 1:], start + 2):
        if line.startswith('## '):
            break
        if not line.startswith('|'):
            continue
        cells = [c.strip() for c in line.strip().strip('|').split('|')]
        if len(cells) < 3 or not cells[0].isdigit():
            continue  # the header row and its rule
        paths = re.findall(r'`([^`]+)`', cells[2])
        if not paths:
            raise ValueError('%s:%d: layer %s names no path' % (path, number, cells[1]))
        folders = [p.rstrip('/') for p in paths if p.endswith('/')]
        globs = [p for p in paths if not p.endswith('/')]
        layers.append(Layer(int(cells[0]), cells[1], folders, globs, number))
    if not layers:
        raise ValueError('%s: the "## Layers" section holds no rows' % path)
    return layers


def layer_of(relpath, layers):
    """The layer holding a file (path relative to the root), or None."""
    for layer in layers:
        if any(fnmatch.fnmatchcase(relpath, g) for g in layer.globs):
            return layer
    folder = os.path.dirname(relpath)
    for layer in layers:
        if folder in layer.folders:
            return layer
    return None


def source_files(root):
    files = []
    for folder, _, names in os.walk(os.path.join(root, 'source')):
        for name in names:
            if name.endswith(CODE_SUFFIXES):
                files.append(os.path.relpath(os.path.join(folder, name), root).replace(os.sep, '/'))
    return sorted(files)


def resolve(root, including, target):
    """The file an include names, relative to the root; None when it is not ours."""
    for base in ('source', os.path.dirname(including)):
        candidate = os.path.normpath(os.path.join(base, target)).replace(os.sep, '/')
        if os.path.isfile(os.path.join(root, candidate)):
            return candidate
    return None


def find_cycles(edges):
    """Strongly connected components of more than one file, or with a self loop."""
    index, low, on_stack, stack, result = {}, {}, set(), [], []
    counter = [0]

    def visit(start):
        # Iterative Tarjan: deep include chains must not hit the recursion limit.
        work = [(start, iter(sorted(edges.get(start, {}))))]
        index[start] = low[start] = counter[0]
        counter[0] += 1
        stack.append(start)
        on_stack.add(start)
        while work:
            node, children = work[-1]
            advanced = False
            for child in children:
                if child not in index:
                    index[child] = low[child] = counter[0]
                    counter[0] += 1
                    stack.append(child)
                    on_stack.add(child)
                    work.append((child, iter(sorted(edges.get(child, {})))))
                    advanced = True
                    break
                if child in on_stack:
                    low[node] = min(low[node], index[child])
            if advanced:
                continue
            work.pop()
            if work:
                parent = work[-1][0]
                low[parent] = min(low[parent], low[node])
            if low[node] == index[node]:
                component = []
                while True:
                    member = stack.pop()
                    on_stack.discard(member)
                    component.append(member)
                    if member == node:
                        break
                if len(component) > 1 or node in edges.get(node, {}):
                    result.append(sorted(component))

    for node in sorted(edges):
        if node not in index:
            visit(node)
    return result


def check(root, table):
    layers = read_table(table)
    problems = []
    edges = {}  # file -> {included file: line}
    for path in source_files(root):
        here = layer_of(path, layers)
        if here is None:
            problems.append('%s:1: no layer of %s holds this file' % (path, table))
        with open(os.path.join(root, path), encoding='utf-8', errors='replace') as f:
            for number, line in enumerate(f, 1):
                m = INCLUDE.match(line)
                if not m:
                    continue
                target = resolve(root, path, m.group(1))
                if target is None:
                    continue
                edges.setdefault(path, {}).setdefault(target, number)
                there = layer_of(target, layers)
                if here is None or there is None or there is here:
                    continue
                if there.rank > here.rank:
                    problems.append('%s:%d: includes "%s" of layer %s, above its own layer %s'
                                    % (path, number, m.group(1), there, here))
                elif there.rank == here.rank:
                    problems.append('%s:%d: includes "%s" of layer %s, which stands beside its '
                                    'own layer %s: they meet through events only'
                                    % (path, number, m.group(1), there, here))
    for cycle in find_cycles(edges):
        links = []
        for a in cycle:
            for b, number in sorted(edges.get(a, {}).items()):
                if b in cycle:
                    links.append((a, number, b))
        first = links[0]
        problems.append('%s:%d: include cycle of %d files: %s'
                        % (first[0], first[1], len(cycle),
                           '; '.join('%s:%d includes %s' % link for link in links)))
    return problems, len(source_files(root)), layers


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description='Checks the include layers of source/.')
    parser.add_argument('--root', default=os.path.dirname(here))
    parser.add_argument('--table', default=None)
    args = parser.parse_args()
    table = args.table or os.path.join(args.root, 'docs', 'CONVENTIONS.md')
    try:
        problems, count, layers = check(args.root, table)
    except (OSError, ValueError) as error:
        print('check_layers: %s' % error)
        return 1
    for p in problems:
        print(p)
    if problems:
        print('check_layers: %d problem(s) in %d files' % (len(problems), count))
        return 1
    print('check_layers: %d files in %d layers, every include runs down the table'
          % (count, len(layers)))
    return 0


if __name__ == '__main__':
    sys.exit(main())
