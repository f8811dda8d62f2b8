"""Items for the helper's tests, each with a folder of its own in the one group."""

import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import configurations  # noqa: E402  (the folder has to be known first)

# The folder of all collected files in a bundle.
GROUP = "collected"


def file_item(identity, path, default=True):
    """Collects the files of that path, which may end in a pattern."""
    return configurations.item_with_folder(identity, configurations.files(path), default)


def folder_item(identity, path, pattern="*", default=True):
    """Collects the files below that folder whose names fit."""
    return configurations.item_with_folder(identity, configurations.folder_files(path, pattern), default)


def tool_item(identity, command, default=True):
    """Collects what a shell command writes, as <identity>/<name of the program>_result.txt."""
    return configurations.item_with_folder(identity, configurations.tool(command), default)


def configuration(*items):
    return configurations.configuration(configurations.group("Test", "Test", *items, folder=GROUP))
