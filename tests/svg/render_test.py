"""The tool's SVG picture, looked at the way a person would: in a browser.

Headless Chromium renders `vessik --svg` of a few drawings to PNG, and the pixels
are held against the records that the tool prints as text (`vessik DRAWING`)
and the layers it lists (`vessik --layers DRAWING`), an account of the drawing
that does not go through the SVG writer:

- colour: at points along every record, a pixel of the record's stroke colour
  lies within a few pixels;
- background: every pixel farther than a few pixels from all records is white;
- the picture is not blank, and its viewBox holds every record with a margin of
  5% of the larger side.

Only the viewBox and the natural size are read from the SVG: they say where the
drawing lands in the picture.

Environment: VESSIK_CLI, the built tool (required); VESSIK_CORPUS_DIR, the shared
corpus (its drawings are skipped when it is missing); VESSIK_CHROMIUM, the browser
(default: chromium from PATH). Without Chromium or Pillow the module exits with 77,
which ctest counts as a skip, unless VESSIK_NO_SKIP is set: then it fails.
"""

import math
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

try:
    from PIL import Image, ImageChops, ImageDraw
except ImportError:  # reported by main()
    Image = None

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.path.dirname(os.path.dirname(HERE))
EXAMPLE = os.path.join(SOURCE_DIR, "examples", "shapes.dxf")
# Small drawings of the corpus with several colours, arcs and circles: lines,
# arcs and circles "by layer" on layers of four colours, white among them (drawn
# black), where lines of one layer lie on those of another; and lines and circles
# in colours of their own, white and "by block" among them.
CORPUS_DRAWINGS = (
    "openscad/examples__Old__example009.dxf",
    "ezdxf/examples_dxf__colors.dxf",
)

# Rendered at twice the natural size: a stroke of one CSS pixel is then two device
# pixels wide, and a pixel in the middle of it has the stroke's colour with no
# blending towards the background. At one device pixel most strokes straddle two
# rows and come out as pale tints of their colour.
SCALE = 2
# Device pixels around a point of a record in which its colour must show: the
# stroke's half width, rounding of the point to a pixel, and the blending at its
# edge.
NEAR = 3
# Largest difference in any channel between a pixel and the colour it counts as.
COLOUR_SLACK = 40
# Share of the sampled points that must find their colour, or be covered by a
# record drawn later (see colour_matches). The rest is slack for anti-aliasing
# where strokes of several colours meet.
ENOUGH = 0.95
# Device pixels between sampled points along a record.
SAMPLE_STEP = 3
# Width in device pixels of the band around each record, inside which a pixel may
# be anything but white: the stroke (2), its round caps and its anti-aliased edge,
# with room to spare. Everything outside it must be white.
MASK_WIDTH = 9
RENDER_TIMEOUT = 60

WHITE = (255, 255, 255)


def skips_are_failures():
    return os.environ.get("VESSIK_NO_SKIP", "") not in ("", "0")


def chromium():
    named = os.environ.get("VESSIK_CHROMIUM", "")
    if named:
        return named if os.path.isfile(named) else shutil.which(named)
    return shutil.which("chromium") or shutil.which("chromium-browser")


def tool():
    path = os.environ.get("VESSIK_CLI", "")
    if not path or not os.path.isfile(path):
        raise AssertionError("VESSIK_CLI does not name the built tool: %r" % path)
    return path


def run_tool(*args):
    done = subprocess.run([tool(), *args], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          timeout=60)
    if done.returncode != 0:
        raise AssertionError("vessik %s failed with %d: %s" %
                             (" ".join(args), done.returncode, done.stderr.decode("latin-1")))
    return done.stdout


# --- The drawing as the text output tells it ------------------------------------

class Record:
    __slots__ = ("id", "type", "layer", "layer_index", "colour", "x1", "y1", "x2", "y2",
                 "cx", "cy", "r", "sa", "ea")


def read_layers(drawing):
    """[(name, rgb)] in the order of the layer list; names as Latin-1 text."""
    layers = []
    for line in run_tool("--layers", drawing).decode("latin-1").split("\n"):
        if line:
            name, _aci, rgb = line.split("\t")
            layers.append((name, int(rgb)))
    return layers


def read_records(drawing):
    """The records that can be drawn: the ones whose numbers are all finite."""
    records = []
    text = run_tool(drawing).decode("latin-1")
    for line in text.split("\r\n"):
        if not line:
            continue
        cols = line.split("\t")
        if len(cols) != 18 or cols[17] != "":
            raise AssertionError("not a record of 17 columns: %r" % line)
        try:
            numbers = [float(c) for c in cols[5:17]]
        except ValueError:
            continue
        if not all(math.isfinite(v) for v in numbers):
            continue
        r = Record()
        r.id, r.type, r.layer = cols[0], int(cols[1]), cols[2]
        r.layer_index, r.colour = int(cols[3]), int(cols[4])
        r.x1, r.y1, _z1, r.x2, r.y2, _z2, r.cx, r.cy, _cz, r.r, r.sa, r.ea = numbers
        records.append(r)
    return records


def stroke_colour(record, layers):
    """The colour the record is drawn in, as (red, green, blue).

    "By layer" (-1) and "by block" (0) take the layer's colour; a layer the list
    does not know counts as white. White is drawn black: it would vanish on the
    white background.
    """
    rgb = record.colour
    if rgb <= 0:
        rgb = 0xFFFFFF
        i = record.layer_index
        if 0 <= i < len(layers) and layers[i][0] == record.layer:
            rgb = layers[i][1]
        else:
            rgb = next((c for name, c in layers if name == record.layer), rgb)
        if rgb < 0:
            rgb = 0xFFFFFF
    if rgb == 0xFFFFFF:
        rgb = 0
    return (rgb & 0xFF, (rgb >> 8) & 0xFF, (rgb >> 16) & 0xFF)


def sweep(record):
    """Counter-clockwise degrees from SA to EA, in (0, 360]: equal angles are a full turn."""
    d = math.fmod(record.ea - record.sa, 360.0)
    return d + 360 if d <= 0 else d


def points_along(record, step):
    """Points along the record, in drawing units, at most `step` apart."""
    if record.type == 83:
        length = math.hypot(record.x2 - record.x1, record.y2 - record.y1)
        n = max(1, math.ceil(length / step))
        return [(record.x1 + (record.x2 - record.x1) * k / n,
                 record.y1 + (record.y2 - record.y1) * k / n) for k in range(n + 1)]
    if record.type in (66, 75):
        if record.type == 75:
            start, turn = 0.0, 360.0
        else:
            start, turn = record.sa, sweep(record)
        n = max(1, math.ceil(abs(record.r) * math.radians(turn) / step))
        return [(record.cx + record.r * math.cos(math.radians(start + turn * k / n)),
                 record.cy + record.r * math.sin(math.radians(start + turn * k / n)))
                for k in range(n + 1)]
    return []


# --- The picture ------------------------------------------------------------------

class Picture:
    """An SVG of the tool, rendered, and how drawing coordinates land on its pixels."""

    def __init__(self, svg_path, png_path):
        with open(svg_path, encoding="utf-8") as f:
            head = f.read(4096)
        svg = re.search(r"<svg\b[^>]*>", head).group(0)

        def attribute(name):
            return re.search(r'\b%s="([^"]*)"' % name, svg).group(1)

        self.width = int(float(attribute("width")))
        self.height = int(float(attribute("height")))
        self.view = tuple(float(v) for v in attribute("viewBox").split())
        self.svg_path, self.png_path = svg_path, png_path
        self.image = None

    def render(self, user_data_dir):
        # The sandbox refuses to start as root (and in many containers); the page
        # is a local file of our own.
        args = [chromium(), "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                "--no-first-run", "--disable-extensions", "--disable-dev-shm-usage",
                "--force-device-scale-factor=%d" % SCALE,
                "--user-data-dir=" + user_data_dir,
                "--window-size=%d,%d" % (self.width, self.height),
                "--screenshot=" + self.png_path,
                "file://" + os.path.abspath(self.svg_path)]
        # A session of its own, so that a browser that hangs goes with all its
        # helper processes.
        browser = subprocess.Popen(args, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   start_new_session=True)
        try:
            output, _ = browser.communicate(timeout=RENDER_TIMEOUT)
        except subprocess.TimeoutExpired:
            os.killpg(browser.pid, signal.SIGKILL)
            browser.communicate()
            raise AssertionError("chromium did not finish within %g s" % RENDER_TIMEOUT)
        if browser.returncode != 0 or not os.path.isfile(self.png_path):
            raise AssertionError("chromium failed (%d): %s" %
                                 (browser.returncode, output.decode("latin-1")[-2000:]))
        self.image = Image.open(self.png_path).convert("RGB")

    def transform(self):
        """(scale, dx, dy): pixel = (dx + x * scale, dy - y * scale).

        The viewBox is fitted into the rendered size as preserveAspectRatio's
        default, xMidYMid meet, fits it: uniformly scaled to the smaller of the two
        ratios, and centred along the other side. SVG's y is the drawing's -y.
        """
        vx, vy, vw, vh = self.view
        w, h = self.image.size
        s = min(w / vw, h / vh)
        return s, (w - vw * s) / 2 - vx * s, (h - vh * s) / 2 - vy * s

    def to_pixel(self, x, y):
        s, dx, dy = self.transform()
        return dx + x * s, dy - y * s


def drawing_order(records, layers):
    """The records' indexes in the order the picture draws them, last on top.

    One group per layer in the order of the layer list, then groups for layer
    names that only records print, in the order they first appear; within a group
    the records keep their order.
    """
    groups = {}
    for name, _rgb in layers:
        groups.setdefault(name, [])
    for n, record in enumerate(records):
        groups.setdefault(record.layer, []).append(n)
    return [n for members in groups.values() for n in members]


def colour_matches(picture, records, layers, colours=None):
    """Looks for each record's colour near points sampled along it.

    Returns {colour: [points sampled, points that found it, points covered]} and
    the first points that neither found their colour nor were covered. A point is
    covered when a record drawn later passes within NEAR pixels of it and that
    record's colour is found there instead: the picture lost the earlier record
    there, rightly. `colours` replaces the colour of each record (for the
    checker's own test).
    """
    pixels = picture.image.load()
    w, h = picture.image.size
    s, _dx, _dy = picture.transform()
    disk = [(i, j) for i in range(-NEAR, NEAR + 1) for j in range(-NEAR, NEAR + 1)
            if i * i + j * j <= NEAR * NEAR]
    want = colours or [stroke_colour(r, layers) for r in records]
    rank = {n: k for k, n in enumerate(drawing_order(records, layers))}

    def found_near(px, py, colour):
        cx, cy = int(math.floor(px)), int(math.floor(py))
        for i, j in disk:
            u, v = cx + i, cy + j
            if 0 <= u < w and 0 <= v < h:
                got = pixels[u, v]
                if max(abs(got[k] - colour[k]) for k in range(3)) <= COLOUR_SLACK:
                    return True
        return False

    # Points one pixel apart along every record, by cells of 8 pixels, to find the
    # records that pass near a point.
    cell = 8
    grid = {}
    for n, record in enumerate(records):
        for x, y in points_along(record, 1 / s):
            px, py = picture.to_pixel(x, y)
            grid.setdefault((int(px // cell), int(py // cell)), []).append((px, py, n))

    def covered(px, py, n):
        gx, gy = int(px // cell), int(py // cell)
        later = {m for i in (-1, 0, 1) for j in (-1, 0, 1)
                 for qx, qy, m in grid.get((gx + i, gy + j), ())
                 if rank[m] > rank[n] and math.hypot(qx - px, qy - py) <= NEAR}
        return any(found_near(px, py, want[m]) for m in later)

    counts, misses = {}, []
    for n, record in enumerate(records):
        if record.type in (66, 75) and record.r <= 0:
            continue  # nothing to see
        tally = counts.setdefault(want[n], [0, 0, 0])
        for x, y in points_along(record, SAMPLE_STEP / s):
            px, py = picture.to_pixel(x, y)
            tally[0] += 1
            if found_near(px, py, want[n]):
                tally[1] += 1
            elif covered(px, py, n):
                tally[2] += 1
            elif len(misses) < 10:
                cx, cy = int(math.floor(px)), int(math.floor(py))
                misses.append("record %s (type %d) at pixel (%d, %d): want %s, there %s" %
                              (record.id, record.type, cx, cy, want[n],
                               pixels[cx, cy] if 0 <= cx < w and 0 <= cy < h else "outside"))
    return counts, misses


def near_records_mask(picture, records):
    """An image of the picture's size, 255 within MASK_WIDTH / 2 pixels of a record."""
    mask = Image.new("L", picture.image.size, 0)
    draw = ImageDraw.Draw(mask)
    s, _dx, _dy = picture.transform()
    half = MASK_WIDTH / 2
    for record in records:
        # Each piece on its own, with a disk at every point for round joins and
        # ends: a wide polyline of many short pieces leaves gaps at its joins.
        points = [picture.to_pixel(x, y) for x, y in points_along(record, 2 / s)]
        for p, q in zip(points, points[1:]):
            draw.line((p, q), fill=255, width=MASK_WIDTH)
        for px, py in points:
            draw.ellipse((px - half, py - half, px + half, py + half), fill=255)
    return mask


def stray_pixels(picture, mask):
    """Pixels that are not white outside the mask: (count, the first few)."""
    white = Image.new("RGB", picture.image.size, WHITE)
    r, g, b = ImageChops.difference(picture.image, white).split()
    off_white = ImageChops.lighter(ImageChops.lighter(r, g), b).point(lambda v: 255 if v else 0)
    strays = ImageChops.multiply(off_white, ImageChops.invert(mask))
    if strays.getbbox() is None:
        return 0, []
    w = picture.image.size[0]
    found = [(i % w, i // w) for i, v in enumerate(strays.getdata()) if v]
    return len(found), [(p, picture.image.getpixel(p)) for p in found[:10]]


# --- The tests --------------------------------------------------------------------

_work = None
_rendered = {}


def setUpModule():
    global _work
    _work = tempfile.mkdtemp(prefix="vessik-svg-render-")


def tearDownModule():
    shutil.rmtree(_work, ignore_errors=True)


def rendered(drawing):
    """(picture, records, layers) of a drawing, rendered once per run."""
    if drawing not in _rendered:
        stem = "d%d" % len(_rendered)
        svg = os.path.join(_work, stem + ".svg")
        png = os.path.join(_work, stem + ".png")
        run_tool("--svg", drawing, "-o", svg)
        picture = Picture(svg, png)
        picture.render(os.path.join(_work, stem + "-profile"))
        expected = (SCALE * picture.width, SCALE * picture.height)
        if picture.image.size != expected:
            raise AssertionError("rendered %s, expected %s" % (picture.image.size, expected))
        _rendered[drawing] = (picture, read_records(drawing), read_layers(drawing))
    return _rendered[drawing]


class RenderedDrawing:
    """The checks of one drawing; the subclasses name it."""

    def drawing(self):
        raise NotImplementedError

    def setUp(self):
        self.picture, self.records, self.layers = rendered(self.drawing())
        self.assertTrue(self.records, "no records to draw")

    def test_colours_where_the_records_are(self):
        counts, misses = colour_matches(self.picture, self.records, self.layers)
        sampled = sum(c[0] for c in counts.values())
        seen = sum(c[1] + c[2] for c in counts.values())
        detail = "{colour: [sampled, found, covered]} %s\nfirst misses:\n  %s" % (
            {"#%02x%02x%02x" % k: v for k, v in counts.items()}, "\n  ".join(misses))
        self.assertGreater(sampled, 0)
        self.assertGreaterEqual(seen / sampled, ENOUGH,
                                "%d of %d points found their colour or were covered; %s" %
                                (seen, sampled, detail))
        for colour, (n, found, _covered) in counts.items():
            if n:
                self.assertGreater(found, 0, "colour %s is nowhere; %s" % (colour, detail))

    def test_background_is_empty_elsewhere(self):
        count, first = stray_pixels(self.picture, near_records_mask(self.picture, self.records))
        self.assertEqual(count, 0, "pixels far from every record that are not white: %s" % first)

    def test_picture_is_not_blank(self):
        self.assertIsNotNone(
            ImageChops.difference(self.picture.image,
                                  Image.new("RGB", self.picture.image.size, WHITE)).getbbox())

    def test_view_holds_every_record_with_a_margin(self):
        xs, ys = [], []
        for record in self.records:
            for x, y in points_along(record, 1e-3 * max(self.picture.view[2:])):
                xs.append(x)
                ys.append(y)
        # In SVG units (y down), and what the margin must be: 5% of the larger side.
        left, right, top, bottom = min(xs), max(xs), -max(ys), -min(ys)
        margin = 0.05 * max(right - left, bottom - top)
        vx, vy, vw, vh = self.picture.view
        slack = 1e-3 * max(vw, vh)  # points sampled along an arc can miss its extreme
        self.assertAlmostEqual(vx, left - margin, delta=slack)
        self.assertAlmostEqual(vy, top - margin, delta=slack)
        self.assertAlmostEqual(vx + vw, right + margin, delta=slack)
        self.assertAlmostEqual(vy + vh, bottom + margin, delta=slack)
        self.assertEqual(max(self.picture.width, self.picture.height), 1024)


class ExampleDrawing(RenderedDrawing, unittest.TestCase):
    def drawing(self):
        return EXAMPLE


class CorpusDrawing(RenderedDrawing):
    name = None

    def drawing(self):
        corpus = os.environ.get("VESSIK_CORPUS_DIR", "")
        path = os.path.join(corpus, self.name)
        if not corpus or not os.path.isfile(path):
            message = "corpus drawing %r is missing" % path
            if skips_are_failures():
                self.fail(message + " (VESSIK_NO_SKIP is set)")
            self.skipTest(message)
        return path


class CorpusLayerColours(CorpusDrawing, unittest.TestCase):
    name = CORPUS_DRAWINGS[0]


class CorpusOwnColours(CorpusDrawing, unittest.TestCase):
    name = CORPUS_DRAWINGS[1]


class TheChecksThemselves(unittest.TestCase):
    """The checks fail on pictures that are wrong, so that a pass means something."""

    def setUp(self):
        self.picture, self.records, self.layers = rendered(EXAMPLE)

    def test_a_stray_mark_is_found(self):
        mask = near_records_mask(self.picture, self.records)
        original = self.picture.image
        marked = original.copy()
        # A blot in the first all-white spot, far from every record.
        spot = next((x, y) for y in range(20, marked.size[1] - 20, 10)
                    for x in range(20, marked.size[0] - 20, 10)
                    if mask.crop((x - 20, y - 20, x + 20, y + 20)).getbbox() is None)
        ImageDraw.Draw(marked).ellipse((spot[0] - 2, spot[1] - 2, spot[0] + 2, spot[1] + 2),
                                       fill=(200, 200, 200))
        self.picture.image = marked
        try:
            count, _ = stray_pixels(self.picture, mask)
        finally:
            self.picture.image = original
        self.assertGreater(count, 0)

    def test_wrong_colours_are_found(self):
        # Every record expects the colour of another: red where green is drawn.
        own = [stroke_colour(r, self.layers) for r in self.records]
        palette = sorted(set(own))
        self.assertGreater(len(palette), 1)
        shifted = [palette[(palette.index(c) + 1) % len(palette)] for c in own]
        counts, _ = colour_matches(self.picture, self.records, self.layers, shifted)
        sampled = sum(c[0] for c in counts.values())
        seen = sum(c[1] + c[2] for c in counts.values())
        self.assertLess(seen / sampled, ENOUGH)


def main():
    missing = []
    if Image is None:
        missing.append("Pillow (Debian: python3-pil)")
    if not chromium():
        missing.append("Chromium (Debian: chromium)")
    if missing:
        message = "render test: missing " + ", ".join(missing)
        if skips_are_failures():
            print(message + "; VESSIK_NO_SKIP is set: failing", file=sys.stderr)
            return 1
        print(message + "; skipped", file=sys.stderr)
        return 77
    program = unittest.main(verbosity=2, exit=False)
    return 0 if program.result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
