"""What can be said of a screenshot: where a colour shows, how much of it, and what differs between two."""
import math

from PIL import Image, ImageChops


class Spots:
    """The pixels of a picture that fit a question."""

    def __init__(self, mask):
        self.mask = mask
        self.count = mask.histogram()[255]
        self.box = mask.getbbox()               # (left, top, right, bottom), or None

    @property
    def centre(self):
        """Of the box; near nothing if there is none."""
        left, top, right, bottom = self.box or (math.nan,) * 4
        return (left + right) / 2, (top + bottom) / 2

    @property
    def width(self):
        return self.box[2] - self.box[0] if self.box else 0

    @property
    def height(self):
        return self.box[3] - self.box[1] if self.box else 0


class Picture:
    def __init__(self, image):
        self.image = image.convert("RGB")

    def crop(self, left, top, right, bottom):
        return Picture(self.image.crop((left, top, right, bottom)))

    def exactly(self, colour, tolerance=24):
        """Pixels near (red, green, blue), each 0 to 255: lines without light, text, overlays."""
        return self._all(channel.point(lambda v, c=value: 255 * (abs(v - c) <= tolerance))
                         for channel, value in zip(self.image.split(), colour))

    def tinted(self, colour, tolerance=10):
        """Pixels of this colour in any light: the faces of a solid. The colour must not be grey."""
        wanted = Image.new("RGB", (1, 1), tuple(colour)).convert("HSV").getpixel((0, 0))[0]
        hue, saturation, value = self.image.convert("HSV").split()
        return self._all([hue.point(lambda h: 255 * (min((h - wanted) % 256, (wanted - h) % 256) <= tolerance)),
                          saturation.point(lambda s: 255 * (s >= 50)), value.point(lambda v: 255 * (v >= 24))])

    def lit(self):
        """Pixels that are not black."""
        return Spots(self._strongest().point(lambda v: 255 * (v > 16)))

    def difference(self, other, tolerance=24):
        """Pixels in which two pictures differ."""
        return Spots(Picture(ImageChops.difference(self.image, other.image))._strongest()
                     .point(lambda v: 255 * (v > tolerance)))

    def _strongest(self):
        red, green, blue = self.image.split()
        return ImageChops.lighter(red, ImageChops.lighter(green, blue))

    @staticmethod
    def _all(masks):
        result = None
        for mask in masks:
            result = mask if result is None else ImageChops.darker(result, mask)
        return Spots(result)
