"""The exceptions of this package: one class for each kind of error of the library."""

from __future__ import annotations


class Error(Exception):
    """An error, in the library's words: what happened, and on a second line what to do.

    `status` is the library's number of the error, `text` and `advice` are the two lines. An error that has no class
    of its own is one of the library itself.
    """

    def __init__(self, status: int, text: str, advice: str = "") -> None:
        super().__init__(f"{text}\n{advice}" if advice else text)
        self.status = status
        self.text = text
        self.advice = advice

    def __reduce__(self) -> tuple[type[Error], tuple[int, str, str]]:
        return type(self), (self.status, self.text, self.advice)  # for exceptions of other processes


class LibraryError(Error):
    """The C library can't be found or used. Its `status` is 0."""


class OptionError(Error, ValueError):
    """An option or argument is unknown or invalid."""


class SettingsError(Error):
    """The settings file can't be read or used."""


class PluginError(Error):
    """The plug-in can't be loaded or used."""


class OutputError(Error):
    """A recording can't be created, or was not written completely."""


class RecordingError(Error):
    """A recording can't be read."""


class NoDongleError(Error):
    """There is no dongle."""


class PortError(Error):
    """The dongle's port can't be opened."""


class FirmwareError(Error):
    """The dongle's firmware is too old."""


class NoGlovesError(Error):
    """There are fewer gloves than requested."""


class GloveError(Error):
    """A glove could not be initialized, or has faulty sensors."""


class LostError(Error):
    """The gloves were lost and did not come back in time."""


class RefusedError(Error):
    """The plug-in or the simulation does not know the command."""


class BooksError(Error):
    """It can't be explained what became of each frame of a recording."""


class ClosedError(Error):
    """The gloves are closed, perhaps by another thread during the call."""


class BusyError(Error):
    """Gloves are open in this process, or are already being recorded."""


class StateError(Error):
    """Not possible now: the gloves are not connected, for example."""


class CancelledError(Error):
    """`Gloves.cancel()` ended this."""


class ForkedError(Error):
    """This process is a fork of the one that loaded the library."""


class OverflowWarning(UserWarning):
    """Records were dropped because the program did not read them in time."""


_MEMORY = -106
_CLASSES: dict[int, type[Error]] = {
    -2: OptionError,
    -3: SettingsError,
    -4: PluginError,
    -5: OutputError,
    -6: RecordingError,
    -10: NoDongleError,
    -11: PortError,
    -12: FirmwareError,
    -13: NoGlovesError,
    -14: GloveError,
    -15: LostError,
    -16: RefusedError,
    -17: BooksError,
    -100: ClosedError,
    -101: BusyError,
    -102: StateError,
    -104: CancelledError,
    -105: ForkedError,
}


def make_error(status: int, text: str, advice: str) -> Exception:
    """The exception for a negative status of the library."""
    if status == _MEMORY:
        return MemoryError(text)
    return _CLASSES.get(status, Error)(status, text, advice)
