"""Waiting for what must become true, instead of sleeping and hoping."""
import os
import time

# Sanitizers slow the program down; every patience is multiplied by this.
SLOWNESS = float(os.environ.get("TESSAREL_TEST_SLOWNESS", "1"))


def wait_until(condition, what, seconds=10.0, pause=0.02):
    """Returns the first true value of condition(), asked again and again; fails, with what it waited for, too late."""
    end = time.monotonic() + seconds * SLOWNESS
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds * SLOWNESS:g} s in vain: {what}")
        time.sleep(pause)


def stays(condition, seconds):
    """True if condition() holds whenever it is asked during these seconds."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if not condition():
            return False
        time.sleep(0.02)
    return True
