# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
"""The program that follows recipes, on pages made up for it."""
from pathlib import Path

import follow
import pytest
from follow import BadPage, Change, Command, apply, run, steps_of

PAGE = """# A page

```cpp
not a change
```

```diff
--- a/one.txt
+++ b/one.txt
@@ second
 same
-old
+new

 after
@@
+top
 first
--- /dev/null
+++ b/folder/two.txt
+made
```

<!-- recipe: fails -->
```sh
grep old one.txt
```

- in a list:
  ```sh
  grep new one.txt
  ```
"""
ONE = "first\nsame\nold\n\nafter\nsecond\nsame\nold\n\nafter\n"


def test_steps():
    steps = steps_of(PAGE)
    assert [type(step) for step in steps] == [Change, Change, Command, Command]
    assert [(step.text, step.fails) for step in steps[2:]] == [("grep old one.txt", True), ("grep new one.txt", False)]


def test_changes(tmp_path):
    (tmp_path / "one.txt").write_text(ONE)
    for step in steps_of(PAGE)[:2]:
        apply(step, tmp_path)
    assert (tmp_path / "one.txt").read_text() == "top\nfirst\nsame\nold\n\nafter\nsecond\nsame\nnew\n\nafter\n"
    assert (tmp_path / "folder" / "two.txt").read_text() == "made\n"


def test_commands(tmp_path):
    run(Command(1, "true", False), tmp_path)
    run(Command(1, "false", True), tmp_path)
    with pytest.raises(BadPage, match="line 7: exit status 1: false"):
        run(Command(7, "false\ntrue", False), tmp_path)
    with pytest.raises(BadPage, match="line 7: succeeds, and should not"):
        run(Command(7, "true", True), tmp_path)


def diff(*lines):
    return "\n".join(["```diff", *lines, "```"])


FILE = ("--- a/one.txt", "+++ b/one.txt")


@pytest.mark.parametrize("lines, message", [
    ((" same", "+new"), "line 2: a change begins with"),
    (("--- a/one.txt", "+++ b/two.txt"), "different files"),
    ((*FILE, "same"), "line 4: neither context nor change"),
    ((*FILE, "+new"), "a hunk has context"),
    ((*FILE, " same"), "a hunk has context"),
    (("--- /dev/null", "+++ b/two.txt", " same", "+new"), "a new file has no context"),
])
def test_pages_that_are_written_wrongly(lines, message):
    with pytest.raises(BadPage, match=message):
        steps_of(diff(*lines))


@pytest.mark.parametrize("lines, message", [
    ((*FILE, " gone", "+new"), "these lines are not there"),
    ((*FILE, " sam", "+new"), "these lines are not there"),
    ((*FILE, " same", "+new"), "stand in 2 places"),
    ((*FILE, "@@ gone", " same", "+new"), "'gone' is not there"),
    (("--- a/two.txt", "+++ b/two.txt", " same", "+new"), "two.txt is not there"),
    (("--- /dev/null", "+++ b/one.txt", "+new"), "is there already"),
])
def test_pages_that_do_not_fit(tmp_path, lines, message):
    (tmp_path / "one.txt").write_text(ONE)
    with pytest.raises(BadPage, match=message):
        for step in steps_of(diff(*lines)):
            apply(step, tmp_path)


def test_a_block_without_an_end():
    with pytest.raises(BadPage, match="without an end"):
        steps_of("```sh\ntrue\n")


def test_a_page_without_a_change(tmp_path):
    page = tmp_path / "add-nothing.md"
    page.write_text("words\n")
    with pytest.raises(BadPage, match="add-nothing.md: has no block 'diff'"):
        follow.follow(page, Path(tmp_path / "copy"), commands=False)
