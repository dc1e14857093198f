#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""What a screen reader finds in the widget's windows, as JSON: a tree of name, role, description, link and children.

With a word as argument, has the first link whose name holds it activated.
"""

import json
import sys

import pyatspi


def applications():
    desktop = pyatspi.Registry.getDesktop(0)
    return [app for app in desktop if app is not None and app.name.startswith("vela-")]


def link_of(item):
    try:
        return item.queryHyperlink().getURI(0)
    except (NotImplementedError, AttributeError):
        return None


def tree(item):
    return {"name": item.name, "role": item.getRoleName(), "description": item.description, "link": link_of(item),
            "showing": item.getState().contains(pyatspi.STATE_SHOWING),
            "focused": item.getState().contains(pyatspi.STATE_FOCUSED), "children": [tree(child) for child in item]}


def activate(item, word):
    if item.getRoleName() == "link" and word in item.name:
        item.queryAction().doAction(0)
        return True
    return any(activate(child, word) for child in item)


if len(sys.argv) > 1:
    sys.exit(0 if any(activate(app, sys.argv[1]) for app in applications()) else 1)
print(json.dumps([tree(app) for app in applications()]))
