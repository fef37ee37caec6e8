#!/usr/bin/python3
"""Finds an accessible control of a running application and prints its screen extents.

    atspi_find.py APP ROLE NAME [--timeout SECONDS]   -> "x y width height", exit 0
    atspi_find.py APP --dump                          -> the tree, one "role | name" a line
    atspi_find.py APP --names ROLE                    -> the names of showing controls of ROLE

ROLE is an AT-SPI role name as Atspi spells it ("push button", "radio button", "combo box",
"check box", "label", ...); NAME is matched exactly. Only showing controls count. Exit 1 when
nothing matches before the timeout.
"""
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402


def application(name):
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is not None and (app.get_name() or "").lower() == name.lower():
            return app
    return None


def walk(node, depth=0):
    yield node, depth
    try:
        count = node.get_child_count()
    except Exception:
        return
    for i in range(count):
        child = node.get_child_at_index(i)
        if child is not None:
            yield from walk(child, depth + 1)


def showing(node):
    try:
        return node.get_state_set().contains(Atspi.StateType.SHOWING)
    except Exception:
        return False


def main(argv):
    if len(argv) >= 3 and argv[2] == "--dump":
        app = application(argv[1])
        for node, depth in walk(app) if app else []:
            print("  " * depth + "%s | %s" % (node.get_role_name(), node.get_name()))
        return 0 if app else 1
    if len(argv) >= 4 and argv[2] == "--names":
        app = application(argv[1])
        for node, _ in walk(app) if app else []:
            if node.get_role_name() == argv[3] and showing(node):
                print(node.get_name())
        return 0 if app else 1
    if len(argv) < 4:
        print(__doc__, file=sys.stderr)
        return 2
    app_name, role, name = argv[1:4]
    timeout = float(argv[5]) if len(argv) >= 6 and argv[4] == "--timeout" else 10.0
    deadline = time.monotonic() + timeout
    while True:
        app = application(app_name)
        for node, _ in walk(app) if app else []:
            if node.get_role_name() == role and node.get_name() == name and showing(node):
                r = node.get_extents(Atspi.CoordType.SCREEN)
                if r.width > 0 and r.height > 0:
                    print(r.x, r.y, r.width, r.height)
                    return 0
        if time.monotonic() > deadline:
            print("no showing %s named %r in %s" % (role, name, app_name), file=sys.stderr)
            return 1
        time.sleep(0.2)


if __name__ == "__main__":
    sys.exit(main(sys.argv))
