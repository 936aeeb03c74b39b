"""The life of a handle the SDK made: released once, by close(), at the end of a ``with``
block, or when the Python object is dropped."""

from __future__ import annotations

from typing import Optional


class OwnedHandle:
    _handle: Optional[int] = None

    def _release(self, handle: int) -> None:
        raise NotImplementedError

    def close(self) -> None:
        """Releases the handle; closing twice is harmless."""
        handle, self._handle = self._handle, None
        if handle is not None:
            self._release(handle)

    @property
    def closed(self) -> bool:
        return self._handle is None

    def __enter__(self):
        return self

    def __exit__(self, *exc_info) -> None:
        self.close()

    def __del__(self):
        try:
            self.close()
        except Exception:  # noqa: BLE001  (the interpreter may be shutting down)
            pass
