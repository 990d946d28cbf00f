"""A timer that runs beside the rows, and shows how late the machine wakes a process."""
import multiprocessing
import os
import time

PERIOD_SECONDS = 0.005
NOTED_SECONDS = 0.002
ENTRIES = 65536


class Timer:
    """A process that sleeps again and again. What it oversleeps is in memory that forked workers share."""

    def __enter__(self):
        context = multiprocessing.get_context("fork")
        self.times = context.RawArray("d", ENTRIES)
        self.delays = context.RawArray("d", ENTRIES)
        self.process = context.Process(target=self.run, args=[os.getpid()], daemon=True)
        self.process.start()
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.join()

    def run(self, parent):
        entry = 0
        while os.getppid() == parent:
            start = time.monotonic()
            time.sleep(PERIOD_SECONDS)
            now = time.monotonic()
            if now - start - PERIOD_SECONDS > NOTED_SECONDS:
                self.times[entry % ENTRIES], self.delays[entry % ENTRIES] = now, now - start - PERIOD_SECONDS
                entry += 1

    def longest_delay(self, start, end):
        """The most that it overslept at once between these times, in seconds."""
        return max((delay for when, delay in zip(self.times, self.delays) if start <= when <= end), default=0.0)
