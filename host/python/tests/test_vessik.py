"""Tests of the Python module "vessik".

Drawings of the shared corpus are parsed through the module and compared with
their pinned outcomes (EXPECTED.tsv of the corpus), and with the library's own
text, which the helper named by VESSIK_EXPECT writes. Without the corpus
(VESSIK_CORPUS_DIR) those tests are skipped, unless VESSIK_NO_SKIP is set: then
they fail.
"""

import hashlib
import os
import subprocess
import tempfile
import threading
import time
import unittest

import vessik

# The tool's defaults, and the fine settings of the corpus pins.
TOOL_DEFAULTS = dict(
    Tolerance=0.01,
    Check=0,
    ArcMaximumDeviationFactor=0.01,
    ArcMinimumSegmentLengthFactor=0.1,
    ArcMaximumSegmentLengthFactor=10.0,
    InitialSegments=4.0,
)
FINE = dict(
    Tolerance=0.001,
    Check=1,
    ArcMaximumDeviationFactor=0.001,
    ArcMinimumSegmentLengthFactor=0.0,
    ArcMaximumSegmentLengthFactor=0.0,
    InitialSegments=2.0,
)

SETTINGS = dict(
    Tolerance=0.01,
    Check=0,
    ArcMaximumDeviationFactor=0.01,
    ArcMinimumSegmentLengthFactor=0.001,
    ArcMaximumSegmentLengthFactor=100.0,
    InitialSegments=4.0,
)

HEAD = (
    "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n70\n2\n"
    "0\nLAYER\n2\n0\n70\n0\n62\n7\n6\nCONTINUOUS\n"
    "0\nLAYER\n2\nWALLS\n70\n0\n62\n-3\n6\nCONTINUOUS\n"
    "0\nENDTAB\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n"
)
TAIL = "0\nENDSEC\n0\nEOF\n"


class Drawings(unittest.TestCase):
    def setUp(self):
        self._dir = tempfile.TemporaryDirectory()
        self.dir = self._dir.name

    def tearDown(self):
        vessik.SetPumpHook(None)
        vessik.SetMessageBoxHook(None)
        self._dir.cleanup()

    def write(self, name, content):
        path = os.path.join(self.dir, name)
        with open(path, "wb") as f:
            f.write(content if isinstance(content, bytes) else content.encode())
        return path

    def drawing(self, name, entities=""):
        return self.write(name, HEAD + entities + TAIL)


class ObjectTests(unittest.TestCase):
    def test_common_data(self):
        d = vessik.Vessik_CommonData()
        for name in SETTINGS:
            self.assertEqual(getattr(d, name), 0)
        for i, name in enumerate(SETTINGS):
            setattr(d, name, i + 1)
            self.assertEqual(getattr(d, name), i + 1)
        d.Tolerance = 0.125
        self.assertEqual(d.Tolerance, 0.125)
        self.assertIsInstance(d.Check, int)
        self.assertIsInstance(d.InitialSegments, float)
        d.Check = -2147483648
        self.assertEqual(d.Check, -2147483648)
        with self.assertRaises(TypeError):
            d.Check = 2**31

    def test_color(self):
        c = vessik.Vessik_Color()
        self.assertEqual((c.ColorACI, c.ColorRGB), (0, 0))
        c.ColorACI = 1
        self.assertEqual((c.ColorACI, c.ColorRGB), (1, 255))
        c.ColorRGB = 12345
        self.assertEqual((c.ColorACI, c.ColorRGB), (1, 12345))
        c.ColorACI = -3
        self.assertEqual(c.ColorRGB, 65280)

    def test_color_overflow_is_a_vessik_error(self):
        c = vessik.Vessik_Color()
        with self.assertRaises(vessik.VessikError) as cm:
            c.ColorACI = -2147483648
        self.assertEqual(cm.exception.number, 6)
        self.assertEqual(cm.exception.source, "")
        self.assertEqual(cm.exception.description, "Overflow")
        self.assertEqual(c.ColorACI, 0)

    def test_layer(self):
        layer = vessik.Vessik_Layer()
        self.assertEqual(layer.Name, "")
        self.assertEqual(layer.Color.ColorACI, 7)
        self.assertEqual(layer.Color.ColorRGB, 16777215)
        layer.Name = "Dämmung"
        self.assertEqual(layer.Name, "Dämmung")
        c = vessik.Vessik_Color()
        layer.Color = c
        c.ColorACI = 5
        self.assertEqual(layer.Color.ColorACI, 5)
        self.assertIs(layer.Color, c)
        layer.Color = None
        self.assertIsNone(layer.Color)

    def test_progress_event(self):
        p = vessik.Vessik_Progress()
        self.assertIs(p.IsCanceled, False)
        p.IsCanceled = True
        self.assertIs(p.IsCanceled, True)
        p.DoProgress(1)  # no handler: nothing happens
        seen = []
        cookie = p.Connect(seen.append)
        other = p.Connect(lambda v: seen.append(-v))
        p.DoProgress(42)
        self.assertEqual(seen, [42, -42])
        p.Disconnect(cookie)
        p.DoProgress(7)
        self.assertEqual(seen, [42, -42, -7])
        p.Disconnect(other)
        p.DoProgress(8)
        self.assertEqual(seen, [42, -42, -7])

    def test_handler_exception_reaches_the_caller(self):
        p = vessik.Vessik_Progress()

        def fail(value):
            raise RuntimeError("handler %d" % value)

        p.Connect(fail)
        with self.assertRaisesRegex(RuntimeError, "handler 3"):
            p.DoProgress(3)

    def test_error_type(self):
        self.assertTrue(issubclass(vessik.VessikError, Exception))
        e = vessik.VessikError(53, "", "File not found")
        self.assertEqual((e.number, e.source, e.description), (53, "", "File not found"))


class ParseTests(Drawings):
    def parse(self, path, data=None, progress=None, parser=None):
        parser = parser or vessik.Vessik_Parser()
        data = data or vessik.Vessik_CommonData()
        progress = progress or vessik.Vessik_Progress()
        return parser.Parse2(path, data, progress)

    def test_empty_entities_and_layers(self):
        parser = vessik.Vessik_Parser()
        self.assertEqual(parser.Layers, [])
        progress = vessik.Vessik_Progress()
        seen = []
        progress.Connect(seen.append)
        path = self.drawing("empty.dxf")
        self.assertEqual(
            parser.Parse2(path, vessik.Vessik_CommonData(), progress), "")
        self.assertEqual(seen, [62, 75, 50, 50])
        layers = parser.Layers
        self.assertIsInstance(layers, list)
        self.assertEqual([type(x) for x in layers], [vessik.Vessik_Layer] * 2)
        self.assertEqual([x.Name for x in layers], ["0", "WALLS"])
        self.assertEqual(layers[1].Color.ColorACI, -3)
        self.assertEqual(layers[1].Color.ColorRGB, 65280)
        # The layers are the parser's own objects.
        layers[1].Name = "CHANGED"
        self.assertEqual(parser.Layers[1].Name, "CHANGED")

    def test_path_like_and_bytes_paths(self):
        import pathlib

        path = self.drawing("empty.dxf")
        self.assertEqual(self.parse(pathlib.Path(path)), "")
        self.assertEqual(self.parse(os.fsencode(path)), "")

    def test_names_keep_the_file_bytes(self):
        path = self.write(
            "latin.dxf",
            HEAD.replace("WALLS", "D\xc4MMUNG").encode("latin-1") + TAIL.encode())
        parser = vessik.Vessik_Parser()
        self.parse(path, parser=parser)
        name = parser.Layers[1].Name
        self.assertEqual(name.encode("utf-8", "surrogateescape"), b"D\xc4MMUNG")
        layer = vessik.Vessik_Layer()
        layer.Name = name
        self.assertEqual(layer.Name, name)

    def test_cancel_before_and_from_handler(self):
        path = self.drawing("empty.dxf", "0\nPOINT\n8\n0\n" * 20)
        progress = vessik.Vessik_Progress()
        progress.IsCanceled = True
        self.assertEqual(self.parse(path, progress=progress), "")
        progress.IsCanceled = False
        seen = []

        def cancel(value):
            seen.append(value)
            progress.IsCanceled = True

        progress.Connect(cancel)
        self.assertEqual(self.parse(path, progress=progress), "")
        self.assertEqual(seen[-2:], [50, 50])
        self.assertTrue(progress.IsCanceled)

    def test_cancel_from_another_thread(self):
        # Block k holds block k + 1 twice, 30 levels deep: 2^29 lines, which would
        # take minutes; another Python thread cancels it.
        blocks = ""
        for k in range(30):
            blocks += "0\nBLOCK\n2\nB%d\n10\n0\n20\n0\n30\n0\n" % k
            if k == 29:
                blocks += "0\nLINE\n8\n0\n10\n0\n20\n0\n11\n1\n21\n1\n"
            else:
                blocks += "0\nINSERT\n8\n0\n2\nB%d\n10\n0\n20\n0\n" % (k + 1) * 2
            blocks += "0\nENDBLK\n"
        path = self.write(
            "doubling.dxf",
            "0\nSECTION\n2\nBLOCKS\n" + blocks + "0\nENDSEC\n"
            "0\nSECTION\n2\nENTITIES\n0\nINSERT\n8\n0\n2\nB0\n10\n0\n20\n0\n"
            "0\nENDSEC\n0\nEOF\n")
        progress = vessik.Vessik_Progress()
        timer = threading.Timer(0.3, lambda: setattr(progress, "IsCanceled", True))
        start = time.monotonic()
        timer.start()
        try:
            self.assertEqual(self.parse(path, progress=progress), "")
        finally:
            timer.cancel()
        self.assertLess(time.monotonic() - start, 10)
        self.assertTrue(progress.IsCanceled)

    def test_memory_budget(self):
        self.assertGreater(vessik.MemoryBudget(), 1 << 20)
        vessik.SetMemoryBudget(100)
        try:
            self.assertEqual(vessik.MemoryBudget(), 100)
            with self.assertRaises(vessik.VessikError) as cm:
                self.parse(self.drawing("small.dxf"))
            self.assertEqual((cm.exception.number, cm.exception.description),
                             (7, "Out of memory"))
        finally:
            vessik.SetMemoryBudget(0)
        self.assertNotEqual(self.parse(self.drawing("small.dxf")), None)

    def test_failures(self):
        with self.assertRaises(vessik.VessikError) as cm:
            self.parse(os.path.join(self.dir, "missing.dxf"))
        self.assertEqual((cm.exception.number, cm.exception.description),
                         (53, "File not found"))
        with self.assertRaises(vessik.VessikError) as cm:
            self.parse(self.dir)
        self.assertEqual((cm.exception.number, cm.exception.description),
                         (75, "Path/File access error"))
        with self.assertRaises(vessik.VessikError) as cm:
            self.parse(self.write("bad.dxf", "0\nSECT\n0\nEOF\n"))
        self.assertEqual(cm.exception.number, -2147221503)
        self.assertEqual(cm.exception.description,
                         "SECTION tag not found. DXF file is invalid.")
        self.assertIn("SECTION tag not found", str(cm.exception))
        parser = vessik.Vessik_Parser()
        with self.assertRaises(vessik.VessikError) as cm:
            parser.Parse2(self.drawing("d.dxf"), vessik.Vessik_CommonData(), None)
        self.assertEqual(cm.exception.number, 91)
        # The layers read before the failure stay readable.
        self.assertEqual(len(parser.Layers), 2)

    def test_message_box_and_pump_hooks(self):
        shown = []
        pumped = []
        vessik.SetMessageBoxHook(shown.append)
        vessik.SetPumpHook(lambda: pumped.append(1))
        path = self.write(
            "code.dxf", "0\nSECTION\n2\nENTITIES\n99999999999\nX\n0\nENDSEC\n0\nEOF\n")
        with self.assertRaises(vessik.VessikError) as cm:
            self.parse(path)
        self.assertEqual(cm.exception.number, -2147221501)
        self.assertTrue(cm.exception.description.startswith(
            "Error during parsing of DXF file at line #"))
        self.assertEqual(shown, ["Fail:0"])
        # The pump runs the hook when 100 ms have passed since it last did.
        time.sleep(0.15)
        pumped.clear()
        vessik.SetPumpHook(lambda: pumped.append(1))
        self.assertEqual(self.parse(self.drawing("e.dxf")), "")
        self.assertGreaterEqual(len(pumped), 1)

    def test_failing_pump_hook_does_not_stop_the_parse(self):
        def fail():
            raise ValueError("pump")

        vessik.SetPumpHook(fail)
        import sys

        old = sys.unraisablehook
        caught = []
        sys.unraisablehook = caught.append
        try:
            self.assertEqual(self.parse(self.drawing("e.dxf")), "")
        finally:
            sys.unraisablehook = old
        self.assertTrue(all(isinstance(u.exc_value, ValueError) for u in caught))


class ErrorCatalogueTests(unittest.TestCase):
    def test_errors_are_the_catalogue(self):
        self.assertEqual(len(vessik.ERRORS), 16)
        rows = {row[1]: row for row in vessik.ERRORS}
        self.assertEqual(rows["TypeMismatch"][:4], (13, "TypeMismatch", "", "Type mismatch"))
        self.assertEqual(rows["TooManyIterations"][:4],
                         (-2147221403, "TooManyIterations", "",
                          "Iterations above 10000 reduce tolerance."))

    def test_a_failure_has_the_catalogue_words(self):
        number, _, source, text, _ = {row[1]: row for row in vessik.ERRORS}["FileNotFound"]
        with self.assertRaises(vessik.VessikError) as cm:
            vessik.Vessik_Parser().Parse2("/no/such/drawing.dxf", vessik.Vessik_CommonData(),
                                          vessik.Vessik_Progress())
        self.assertEqual((cm.exception.number, cm.exception.source, cm.exception.description),
                         (number, source, text))


def corpus_drawings():
    corpus = os.environ.get("VESSIK_CORPUS_DIR", "")
    listing = os.environ.get("VESSIK_HOST_DRAWINGS", "")
    if not corpus or not os.path.isdir(corpus) or not os.path.isfile(listing):
        return corpus, []
    with open(listing) as f:
        names = [x.strip() for x in f if x.strip() and not x.startswith("#")]
    return corpus, [os.path.join(corpus, n) for n in names]


def skips_are_failures():
    return os.environ.get("VESSIK_NO_SKIP", "") not in ("", "0")


def pinned_outcomes(corpus):
    """{(file, settings): (outcome, count, sha256)} from the corpus pins."""
    pins = {}
    with open(os.path.join(corpus, "EXPECTED.tsv"), encoding="utf-8") as f:
        next(f)
        for line in f:
            cols = line.rstrip("\n").split("\t")
            if len(cols) >= 5:
                pins[(cols[0], cols[1])] = tuple(cols[2:5])
    return pins


def settings_object(settings):
    data = vessik.Vessik_CommonData()
    for k, v in settings.items():
        setattr(data, k, v)
    return data


class CorpusTests(Drawings):
    def found_or_skip(self):
        corpus, paths = corpus_drawings()
        found = [p for p in paths if os.path.isfile(p)]
        if not found:
            message = "no corpus drawings at %r: corpus comparison skipped" % corpus
            if skips_are_failures():
                self.fail(message + " (VESSIK_NO_SKIP is set)")
            self.skipTest(message)
        return corpus, found

    def test_corpus_matches_the_pins(self):
        corpus, found = self.found_or_skip()
        pins = pinned_outcomes(corpus)
        for path in found:
            name = os.path.relpath(path, corpus)
            for setting, settings in (("defaults", TOOL_DEFAULTS), ("fine", FINE)):
                with self.subTest(drawing=name, settings=setting):
                    self.assertEqual(self.outcome(path, settings, setting == "defaults"),
                                     pins[(name, setting)])
                    if setting == "defaults":
                        self.assertEqual(self.layer_outcome, pins[(name, "layers")])

    def outcome(self, path, settings, with_layers):
        """(outcome, count, sha256) as the pins write it."""
        parser = vessik.Vessik_Parser()
        try:
            text = parser.Parse2(path, settings_object(settings), vessik.Vessik_Progress())
        except vessik.VessikError as e:
            self.layer_outcome = ("error", "-", "-")
            return ("error", str(e.number), "-")
        data = text.encode("utf-8", "surrogateescape")
        if with_layers:
            layers = b"".join(b"%s\t%d\t%d\n" % (layer.Name.encode("utf-8", "surrogateescape"),
                                                  layer.Color.ColorACI, layer.Color.ColorRGB)
                              for layer in parser.Layers)
            self.layer_outcome = ("text", str(layers.count(b"\n")),
                                  hashlib.sha256(layers).hexdigest())
        return ("text", str(data.count(b"\n")), hashlib.sha256(data).hexdigest())

    def test_corpus_matches_the_library(self):
        corpus, found = self.found_or_skip()
        helper = os.environ.get("VESSIK_EXPECT", "")
        self.assertTrue(helper, "VESSIK_EXPECT names no helper")
        for i, path in enumerate(found):
            with self.subTest(drawing=os.path.relpath(path, corpus)):
                self.compare(helper, path, os.path.join(self.dir, "expect%d" % i))

    def compare(self, helper, path, prefix):
        args = [helper, path, prefix] + [repr(float(v)) if k != "Check" else str(v)
                                         for k, v in SETTINGS.items()]
        subprocess.run(args, check=True)
        with open(prefix + ".txt", "rb") as f:
            expected = f.read()
        with open(prefix + ".meta", "rb") as f:
            meta = f.read().split(b"\n")
        status = meta[0].split(b" ", 1)[1]
        data = vessik.Vessik_CommonData()
        for k, v in SETTINGS.items():
            setattr(data, k, v)
        parser = vessik.Vessik_Parser()
        if status == b"OK":
            text = parser.Parse2(path, data, vessik.Vessik_Progress())
            self.assertEqual(text.encode("utf-8", "surrogateescape"), expected)
        else:
            with self.assertRaises(vessik.VessikError) as cm:
                parser.Parse2(path, data, vessik.Vessik_Progress())
            self.assertEqual(cm.exception.number, int(meta[1].split(b" ", 1)[1]))
            self.assertEqual(cm.exception.source.encode(), meta[2].split(b" ", 1)[1])
            self.assertEqual(cm.exception.description.encode(), meta[3].split(b" ", 1)[1])
        count = int(meta[4].split(b" ", 1)[1])
        layers = parser.Layers
        self.assertEqual(len(layers), count)
        for layer, line in zip(layers, meta[5:5 + count]):
            name, aci, rgb = line.split(b"\t")
            self.assertEqual(layer.Name.encode("utf-8", "surrogateescape"), name)
            self.assertEqual((layer.Color.ColorACI, layer.Color.ColorRGB), (int(aci), int(rgb)))


if __name__ == "__main__":
    unittest.main()
