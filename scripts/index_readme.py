"""The README as a package index shows it: a provider of metadata for the build.

An index has the text of README.md and none of the files that it links to. So links lead to where
the repository can be read, given as `pages`, and pictures come from where it has the files as they
are, given as `files`. Where these are empty, links become plain text and pictures are left out.
Links to a heading of the README itself, and to other sites, stay as they are.
"""

import re
from collections.abc import Mapping
from pathlib import Path
from typing import Any

PICTURE = re.compile(r"^!\[([^\]]*)\]\((?![a-z]+://)([^)\s]+)\)\n\n?", re.MULTILINE)
LINK = re.compile(r"(?<!!)\[([^\]]+)\]\((?![a-z]+://|#)([^)\s]+)\)")


def readme_for_index(text: str, pages: str, files: str) -> str:
    """The README with links and pictures that work without the repository around it.

    >>> text = "![A net](docs/net.svg)\\n\\nSee [the guide](docs/guide.md#nodes), [below](#build)."
    >>> readme_for_index(text, "https://host/blob/", "https://host/raw/").splitlines()[::2]
    ['![A net](https://host/raw/docs/net.svg)', \
'See [the guide](https://host/blob/docs/guide.md#nodes), [below](#build).']
    >>> readme_for_index(text, "", "")
    'See the guide, [below](#build).'
    """
    text = PICTURE.sub(rf"![\1]({files}\2)\n\n" if files else "", text)
    return LINK.sub(rf"[\1]({pages}\2)" if pages else r"\1", text)


def dynamic_metadata(settings: Mapping[str, Any], _project: Mapping[str, Any]) -> dict[str, Any]:
    """What the build asks for: the `readme` field."""
    text = Path("README.md").read_text(encoding="utf-8")
    return {"readme": {"content-type": "text/markdown", "text": readme_for_index(text, **settings)}}
