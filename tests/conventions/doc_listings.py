"""The listings of a page of docs/: fenced blocks that follow a line naming their file."""

import re

# "`hello/hello.cpp`:" or "`hello/hello.json`, which ...:", an empty line, and the block.
LISTING = re.compile(r"`([^`\n]+/[^`\n]+)`[^`]*?:\n\n```\w*\n(.*?)^```$", re.DOTALL | re.MULTILINE)


def listings(text):
    """Path to content, of every listing of the page."""
    return {match.group(1): match.group(2) for match in LISTING.finditer(text)}
