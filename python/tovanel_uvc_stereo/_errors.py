"""The SDK's error codes and the exception that carries them."""

from __future__ import annotations

import enum


class ErrorCode(enum.IntEnum):
    """Every outcome the SDK reports; the values are the SDK's own."""

    Ok = 0  #: success
    InvalidArgument = 1  #: bad argument or bad content that is not a framing problem
    PlatformError = 2  #: an operating-system or vendor-library call failed while enumerating or reading
    DeviceUnavailable = 3  #: no device to talk to, or it would not start
    ReadFailed = 4  #: a read from the device failed
    WriteFailed = 5  #: a write to the device failed or did not verify
    EraseFailed = 6  #: a flash sector erase failed
    BadMagic = 7  #: a record or report does not start with its magic
    UnsupportedVersion = 8  #: a report version this SDK does not understand
    InvalidHeader = 9  #: a record header is malformed
    InvalidLength = 10  #: a declared length does not fit
    ChecksumMismatch = 11  #: a CRC does not match
    InvalidJson = 12  #: the JSON text is not one well-formed value
    InternalError = 13  #: an exception was caught at an operation boundary
    NotSupported = 14  #: the device lacks what was asked for


class UvcStereoError(Exception):
    """A failure the SDK reported: its code and its exact message.

    ``str(error)`` is ``"<Name>: <message>"``, e.g. ``"InvalidJson: json text is empty"``.
    """

    def __init__(self, code: int, message: str):
        try:
            self.code = ErrorCode(code)
        except ValueError:
            # A newer library may report a code this package does not know yet; keep its number.
            self.code = code  # type: ignore[assignment]
        self.message = message
        super().__init__(code, message)

    @property
    def name(self) -> str:
        """The code's name, ``"Unknown"`` for a code this package does not know."""
        return self.code.name if isinstance(self.code, ErrorCode) else "Unknown"

    def __str__(self) -> str:
        return f"{self.name}: {self.message}"

    def __repr__(self) -> str:
        return f"UvcStereoError({self.name}, {self.message!r})"
