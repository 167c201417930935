# labels: gui;gfx
"""The scene picker on the real game binary with real clicks (xdotool), at 1024x768: boot,
continue, "Load scene" opens "file_open_scene" over the main menu; a click on the row
"scenes/" enters that folder, "../" comes back to the data folder, "scenes/" again, the row
of the second scene chooses it, "open" hides the picker and the chosen scene replaces the
courtyard behind the menu: its lines in the log, and a picture of another place beside the
main menu. Rows are found by the order the picker lists them in: "../", the folders in
reverse order of name, then the files."""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import screens_walk  # noqa: E402
from harness import run_cases  # noqa: E402
from screens_walk import Screens, white  # noqa: E402

# The picker as data/gui/menu.cfo places it, in virtual units.
PICKER = (10, 180, 370, 620)      # the window
LIST = (25, 210, 355, 550)        # the list: rows of 13 from its top
ROW_HEIGHT = 13
screens_walk.BUTTONS.update({'load_scene_button': (130, 728), 'open_file_button': (105, 590),
                             'cancel_file_button': (275, 590)})
screens_walk.BUTTON_SIZE.update({'load_scene_button': (200, 50),
                                 'open_file_button': (150, 38),
                                 'cancel_file_button': (150, 38)})
SECOND_SCENE = 'test_yard.cfo'


def picker_rows(folder):
    """The rows the picker shows for a native folder: "../", folders (reverse order), files."""
    names = sorted(os.listdir(folder))
    dirs = [n + '/' for n in names if os.path.isdir(os.path.join(folder, n))]
    files = [n for n in names if not os.path.isdir(os.path.join(folder, n))]
    return ['../'] + list(reversed(dirs)) + files


def light(p):
    """The rows' white letters, smoothed at their edges."""
    return min(p) >= 150


def dark(p):
    """The list's black ground."""
    return max(p) < 30


def row_box(index):
    top = LIST[1] + index * ROW_HEIGHT
    return (LIST[0] + 4, top + 3, LIST[2] - 20, top + ROW_HEIGHT - 1)


def row_centre(index):
    return (LIST[0] + 60, LIST[1] + index * ROW_HEIGHT + ROW_HEIGHT // 2)


# The level shows beside the main menu's panel in these two strips.
SIDES = ((0, 0, 120, 690), (904, 0, 1024, 690))


def case_scene_picker(c):
    s = Screens(c, 1024, 768)
    s.start()
    game = s.game
    data = game.data
    root_rows = picker_rows(data)
    scene_rows = picker_rows(os.path.join(data, 'scenes'))
    c.check('scenes/' in root_rows and SECOND_SCENE in scene_rows,
            'the data folder holds scenes/%s' % SECOND_SCENE)
    scenes_row = root_rows.index('scenes/') if 'scenes/' in root_rows else 0
    yard_row = scene_rows.index(SECOND_SCENE) if SECOND_SCENE in scene_rows else 0
    # A row of the data folder that the folder scenes/ has not: text there tells them apart.
    probe_row = max(len(root_rows), len(scene_rows)) - 1
    c.check(len(root_rows) > len(scene_rows), 'the data folder lists more rows than scenes/')

    def has_text(shot, index):
        return s.fraction(shot, row_box(index), light) > 0.008

    def bar(shot, index):
        return s.fraction(shot, row_box(index), white) > 0.6

    def click_row(index, what, predicate):
        s.point(*row_centre(index))
        # The bar follows the pointer: the motion has arrived before the press.
        if s.wait('the pointer on row %d (%s)' % (index, what), lambda shot: bar(shot, index)) is None:
            return False
        game.click(1)
        return s.wait(what, predicate) is not None

    try:
        if game.window is None:
            return c.done([game])
        s.wait('the boot screen', lambda shot: s.fraction(shot, (200, 480, 820, 660),
                                                            screens_walk.navy) > 0.6)
        if not s.click('continue_button'):
            return c.done([game])
        s.point(950, 300)
        menu = s.wait('the main menu', lambda shot:
                      s.fraction(shot, (290, 560, 370, 660), screens_walk.navy) > 0.8)
        courtyard = s.wait('the main menu a moment later', lambda shot: True)
        c.check(game.count_lines(r'^output: data/resources/meshes/courtyard.abt$') == 1,
                'the courtyard stands behind the menu')
        if not s.click('load_scene_button'):
            return c.done([game])
        # The picker: the data folder's rows, its last row written.
        if s.wait('the picker over the main menu', lambda shot:
                  s.fraction(shot, LIST, dark) > 0.8 and
                  has_text(shot, len(root_rows) - 1) and has_text(shot, 1)) is None:
            return c.done([game])
        if not click_row(scenes_row, 'scenes/ entered', lambda shot:
                         not has_text(shot, probe_row) and has_text(shot, len(scene_rows) - 1)):
            return c.done([game])
        if not click_row(0, '../ back in the data folder', lambda shot:
                         has_text(shot, probe_row)):
            return c.done([game])
        if not click_row(scenes_row, 'scenes/ entered again', lambda shot:
                         not has_text(shot, probe_row) and has_text(shot, len(scene_rows) - 1)):
            return c.done([game])
        before = len(game.output())
        # Choosing a file changes no row: the bar stays on it after the release.
        if not click_row(yard_row, '%s chosen' % SECOND_SCENE, lambda shot: bar(shot, yard_row)):
            return c.done([game])
        c.equal(len([l for l in game.output()[before:] if 'Scene' in l]), 0,
                'choosing a file loads nothing yet')
        if not s.click('open_file_button'):
            return c.done([game])
        # The yard's last entity is its item; it has no patrols.
        c.check(game.wait_for_line(r"^  'Item'$", start=before, timeout=60) >= 0,
                'open loads the chosen scene')
        loaded_lines = [l.strip() for l in game.output()[before:] if l.startswith(' ')]
        c.equal([l for l in loaded_lines if l.startswith("'")],
                ["'Scene'", "'WorldGeometry'", "'Player'", "'Item'"],
                'the entities of %s' % SECOND_SCENE)
        s.point(950, 300)
        # The loading panel comes first: the menu's panel is back once the scene draws.
        loaded = s.wait('the picker gone and another place behind the menu', lambda shot:
                        s.fraction(shot, LIST, dark) < 0.2 and
                        s.fraction(shot, (290, 560, 370, 660), screens_walk.navy) > 0.8 and
                        s.mean_difference(courtyard, shot, SIDES, 3) > 40)
        if loaded is not None and menu is not None:
            noise = s.mean_difference(menu, courtyard, SIDES, 3)
            change = s.mean_difference(courtyard, loaded, SIDES, 3)
            c.check(change > 3 * noise + 20,
                    'the new scene differs from the courtyard (%.1f) far more than the '
                    'courtyard from itself a moment later (%.1f)' % (change, noise))
        c.equal(game.count_lines(r'^output: data/resources/meshes/courtyard.abt$'), 1,
                'the second scene reads the tree and builds none')
        c.equal(game.count_lines(r'not a texture|Scene object not found|Could not'), 0,
                'every texture of the picker and the scene loads')
        s.click('exit_button')
        c.equal(game.wait_exit(30), 0, 'exit ends the program with code 0')
    finally:
        game.stop()
    return c.done([game])


if __name__ == '__main__':
    run_cases([('scene_picker', case_scene_picker)])
