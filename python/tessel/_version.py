"""Versions."""

from tessel import _library

__version__ = "1.0.0"


def version() -> str:
    """The version of the C library."""
    text: bytes = _library.library().tessel_version()
    return text.decode()
