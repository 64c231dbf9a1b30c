# SPDX-License-Identifier: MIT
"""What comes out of the null sink, as one level for every 100 ms."""

import array
import threading
import time

from processes import wait_until

_RATE = 44100
WINDOW_SECONDS = 0.1
_WINDOW_BYTES = int(_RATE * WINDOW_SECONDS) * 2
# Of 32767; the alarm's peak is -1 dBFS.
_LOUD = 1000


class Recording:
    """Each window is (time of arrival, peak). A window arrives after its sound, so times are upper bounds."""

    def __init__(self, session):
        self._session = session
        self.windows = []
        self._process = session.run(
            "parec",
            "-d",
            "test.monitor",
            "--raw",
            "--format=s16le",
            f"--rate={_RATE}",
            "--channels=1",
            "--latency-msec=20",
            stdout=-1,
            bufsize=0,
        )
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()
        wait_until(lambda: len(self.windows) > 2, 10, "the recording runs")

    def _read(self):
        while True:
            data = bytearray()
            while len(data) < _WINDOW_BYTES:
                chunk = self._process.stdout.read(_WINDOW_BYTES - len(data))
                if not chunk:
                    return
                data += chunk
            samples = array.array("h", bytes(data))
            self.windows.append((time.monotonic(), max(max(samples), -min(samples))))

    def _since(self, moment):
        return [window for window in list(self.windows) if window[0] > moment]

    def loud_since(self, moment):
        """Time of the first loud window, or None."""
        return next((when for when, peak in self._since(moment) if peak >= _LOUD), None)

    def last_loud(self):
        return next((when for when, peak in reversed(list(self.windows)) if peak >= _LOUD), 0.0)

    def wait_loud(self, moment, seconds=5):
        return wait_until(lambda: self.loud_since(moment), seconds, "the alarm rings")

    def wait_silent(self, seconds=5, still=0.5):
        """Waits until nothing was heard for a while; returns when the last loud window came."""

        def silent():
            recent = self._since(time.monotonic() - still)
            return len(recent) >= 3 and all(peak < _LOUD for _, peak in recent)

        wait_until(silent, seconds, "the alarm is silent")
        return self.last_loud()

    def quiet_gaps(self, start, seconds):
        """Records on until start + seconds; the windows of that span that are not loud, and their number."""
        wait_until(lambda: self.windows[-1][0] >= start + seconds, seconds + 5, "the recording goes on")
        span = [peak for when, peak in list(self.windows) if start <= when <= start + seconds]
        return sum(peak < _LOUD for peak in span), len(span)

    def stays_silent(self, seconds):
        start = time.monotonic()
        wait_until(lambda: self.windows[-1][0] >= start + seconds, seconds + 5, "the recording goes on")
        return self.loud_since(start) is None

    def close(self):
        self._session.processes.end(self._process)
        self._thread.join(5)
        self._process.stdout.close()
