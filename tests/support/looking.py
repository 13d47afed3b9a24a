"""Colours and questions that the window's checks share."""
import time

from support.waiting import SLOWNESS, wait_until

RED, GREEN, BLUE, YELLOW = (255, 0, 0), (0, 255, 0), (0, 0, 255), (255, 255, 0)
DEFAULT = (128, 168, 255)
MIDDLE = (400, 300)


def web(colour):
    return "#{:02X}{:02X}{:02X}".format(*colour)


def seen(display, colour, least=200):
    """Waits until so many pixels have the colour, and returns the whole numbers of their centre."""
    spots = wait_until(lambda: (s := display.picture().tinted(colour)).count > least and s, f"{colour} in the picture")
    return [int(c) for c in spots.centre]


def steady(display, spots, seconds=30):
    """Waits until spots(picture) are there and rest, and returns them."""
    boxes = []

    def rests():
        now = spots(display.picture())
        boxes.append(now.box)
        return now if now.count and len(boxes) > 4 and len(set(boxes[-4:])) == 1 else None
    return wait_until(rests, "a steady picture", seconds, 0.05)


def from_some_side(display, condition, what, seconds=20, pause=0.02):
    """Like wait_until(), but walks around the graph meanwhile: things may stand behind others, or point at the eye."""
    def true_or_turned():
        nonlocal turn_at
        if not (value := condition()) and time.monotonic() > turn_at:
            display.drag((30, 570), (140, 530))         # about 50 degrees
            turn_at = time.monotonic() + SLOWNESS
        return value
    turn_at = time.monotonic() + SLOWNESS
    return wait_until(true_or_turned, what, seconds, pause)


def near(point, other, distance):
    return max(abs(a - b) for a, b in zip(point, other)) <= distance
