"""The #include lines of the tree: which file includes which.

Quoted includes are resolved as the build does it in effect: first beside the including file, then by
file name over every folder of the tree, since each folder is an include directory of its own.
"""

import os
import re

INCLUDE_LINE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"\n]+)"|<([^>\n]+)>)', re.MULTILINE)
BLOCK_COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)
SOURCE_ENDINGS = (".h", ".hpp", ".cpp", ".cc", ".inl")
GENERATED = re.compile(r"(^|/)(moc_[^/]*\.cpp|ui_[^/]*\.h|[^/]*\.moc|mocs_compilation\.cpp)$")


class Include:
    def __init__(self, name, line, quoted):
        self.name = name
        self.line = line
        self.quoted = quoted


def blank_block_comments(text):
    """Block comments without their text, their line breaks kept, so that line numbers stay true."""
    return BLOCK_COMMENT.sub(lambda found: "\n" * found.group(0).count("\n"), text)


def includes_of(path):
    with open(path, encoding="utf-8", errors="replace") as file:
        text = blank_block_comments(file.read())
    found = []
    for match in INCLUDE_LINE.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        found.append(Include(match.group(1) or match.group(2), line, match.group(1) is not None))
    return found


class Tree:
    """The source files under some folders of a root; paths are relative to the root, with '/'."""

    def __init__(self, root, folders):
        self.root = root
        self.files = []
        self._by_name = {}
        for folder in folders:
            for directory, subfolders, names in os.walk(os.path.join(root, folder)):
                subfolders.sort()
                for name in sorted(names):
                    if name.endswith(SOURCE_ENDINGS):
                        path = os.path.relpath(os.path.join(directory, name), root)
                        self._add(path.replace(os.sep, "/"))

    def _add(self, path):
        self.files.append(path)
        self._by_name.setdefault(path.rsplit("/", 1)[-1], []).append(path)

    def includes(self, path):
        return includes_of(os.path.join(self.root, path))

    def resolve(self, path, include):
        """The files of the tree that the line can mean: one beside it, else all of that ending."""
        folder = path.rsplit("/", 1)[0] if "/" in path else ""
        candidates = self._by_name.get(include.name.rsplit("/", 1)[-1], [])
        if include.quoted:
            beside = os.path.normpath(os.path.join(folder, include.name)).replace(os.sep, "/")
            if beside in candidates:
                return [beside]
        tail = os.path.normpath("/" + include.name).replace(os.sep, "/").lstrip("/")
        while tail.startswith("../"):
            tail = tail[3:]
        return [c for c in candidates if c == tail or c.endswith("/" + tail)]

    def closure(self, path):
        """The file and everything of the tree that it includes, directly or not, sorted."""
        seen = {path}
        waiting = [path]
        while waiting:
            current = waiting.pop()
            for include in self.includes(current):
                for target in self.resolve(current, include):
                    if target not in seen:
                        seen.add(target)
                        waiting.append(target)
        return sorted(seen)
