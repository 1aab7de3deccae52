"""The Python client against real conduit processes: the launch sequence,
the controller's methods, signatures, the edit-list writer, error replies,
raw frames and the parent watch."""

import os
import plistlib
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree as ElementTree

from support import (CLIENT, CONDUIT, WATCH_INTERVAL, RuntimeTestCase, ended_within,
                     qrl_conduit)

WRITE_DATA = "saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:"
WRITE_GROUP = "saveFinalCut7XmlToPaths:forTimecodeDetailsInGroup:ignoreTimecode:"
HEADER = '<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE xmeml>\n'


class LaunchTest(RuntimeTestCase):
    def test_a_launched_conduit_serves_its_parent_and_outlives_the_report_deadline(self):
        conduit = self.launch()
        self.assertEqual(conduit.name, str(conduit.pid), "published under its identifier")
        self.assertEqual(conduit.call("distributedProcessIdentifier"), conduit.pid)
        self.assertIs(conduit.call("communicationLocked"), False)
        self.assertIsNone(conduit.call("lockCommunication"))
        self.assertIs(conduit.call("communicationLocked"), True)
        # Six checks end a conduit whose parent never reported itself.
        time.sleep(8 * WATCH_INTERVAL)
        self.assertIsNone(conduit.process.poll())
        self.assertIs(conduit.call("communicationLocked"), True)

    def test_a_named_conduit_serves_that_name_and_a_second_connection(self):
        conduit = self.launch(name="edit-suite")
        self.assertEqual(conduit.name, "edit-suite")
        with qrl_conduit.Conduit.connect("edit-suite", timeout=10) as other:
            self.assertEqual(other.call("distributedProcessIdentifier"), conduit.pid)

    def test_dropping_the_parent_registration_ends_the_conduit(self):
        conduit = self.launch()
        conduit.registration.release()
        lasted = ended_within(conduit.process, 10 * WATCH_INTERVAL)
        self.assertIsNotNone(lasted, "the conduit outlived its parent's registration")
        self.assertLessEqual(lasted, 3 * WATCH_INTERVAL + 1.5)

    def test_a_parent_that_never_reports_itself_loses_the_conduit_on_the_sixth_check(self):
        started = time.monotonic()
        conduit = self.launch(report_parent=False)
        self.assertIsNotNone(ended_within(conduit.process, 20 * WATCH_INTERVAL))
        self.assertGreaterEqual(time.monotonic() - started, 6 * WATCH_INTERVAL)

    def test_without_a_parent_application_the_conduit_ends_at_once(self):
        self.assertIsNotNone(ended_within(self.start_bare(), 3.0))
        # The name may be served for a moment first: launch fails, or its conduit ends.
        try:
            conduit = self.launch(register_parent=False)
        except qrl_conduit.LaunchError as e:
            self.assertIn("ended", str(e))
        else:
            self.assertIsNotNone(ended_within(conduit.process, 3.0))

    def test_a_name_already_served_ends_the_newcomer(self):
        first = self.launch(name="taken")
        second = self.start_bare("taken")
        self.assertIsNotNone(ended_within(second, 3.0))
        self.assertEqual(first.call("distributedProcessIdentifier"), first.pid)

    def test_kill_self_answers_nil_and_ends_the_conduit(self):
        conduit = self.launch()
        self.assertIsNone(conduit.call("killSelf"))
        self.assertIsNotNone(ended_within(conduit.process, 3.0))
        # The name is taken down as the conduit ends.
        with self.assertRaises((FileNotFoundError, ConnectionRefusedError)):
            qrl_conduit.Connection(conduit.name)


class CallsTest(RuntimeTestCase):
    @classmethod
    def setUpClass(cls):
        cls.clips = tempfile.mkdtemp(prefix="qrl-py-clips-")
        cls.clip = os.path.join(cls.clips, "gray.mov")
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "lavfi", "-i",
                        "color=c=gray:s=64x36:r=25:d=1", "-c:v", "mpeg4", cls.clip], check=True)

    @classmethod
    def tearDownClass(cls):
        import shutil
        shutil.rmtree(cls.clips, ignore_errors=True)

    def setUp(self):
        super().setUp()
        self.conduit = self.launch()

    def out(self, name):
        return os.path.join(self.root, name)

    def read(self, path):
        with open(path, encoding="utf-8") as f:
            return f.read()

    def clips_in(self, path):
        text = self.read(path)
        self.assertTrue(text.startswith(HEADER), text[:80])
        return ElementTree.fromstring(text[len(HEADER):].encode()).findall("clip")

    def test_signatures_answer_with_the_conduit_kinds(self):
        cases = {
            "setParentProcessId:": (["int32"], "none"),
            "distributedProcessIdentifier": ([], "int32"),
            "communicationLocked": ([], "bool"),
            "vendAsDistributedObjectWithRegisteredName:": (["string"], "none"),
            WRITE_DATA: (["object", "object", "bool"], "bool"),
            WRITE_GROUP: (["object", "object", "bool"], "bool"),
        }
        for selector, (arguments, result) in cases.items():
            with self.subTest(selector):
                self.assertEqual(self.conduit.signature(selector),
                                 qrl_conduit.Signature(arguments, result))
        for selector in ("frobnicate:", "removeAudioTracksFromQuicktimeMovieAtPath:"):
            with self.subTest(selector):
                with self.assertRaisesRegex(qrl_conduit.RemoteError, "unrecognized selector"):
                    self.conduit.signature(selector)

    def test_no_records_write_the_bare_root_to_every_path(self):
        paths = [self.out("a.xml"), self.out("b.xml")]
        self.assertIs(self.conduit.call(WRITE_DATA, paths, [], False), True)
        for path in paths:
            self.assertEqual(self.read(path), HEADER + '<xmeml version="5"></xmeml>')

    def test_an_unwritable_path_makes_the_result_false_and_the_others_are_still_written(self):
        paths = [os.path.join(self.root, "missing", "x.xml"), self.out("ok.xml")]
        self.assertIs(self.conduit.call(WRITE_GROUP, paths, [], True), False)
        self.assertTrue(self.read(paths[1]).startswith(HEADER))

    def test_archives_and_dictionaries_of_a_clip_give_the_same_document(self):
        archive = qrl_conduit.archived_timecode_details(self.clip, "01:00:00:00", 2)
        dictionary = qrl_conduit.timecode_details(self.clip, "01:00:00:00", 2)
        forms = {
            "archives": (WRITE_DATA, [archive]),
            "dictionaries": (WRITE_GROUP, [dictionary]),
            "archives in a group": (WRITE_GROUP, [archive]),
        }
        texts = []
        for what, (selector, records) in forms.items():
            with self.subTest(what):
                path = self.out(what.replace(" ", "-") + ".xml")
                self.assertIs(self.conduit.call(selector, [path], records, False), True)
                clips = self.clips_in(path)
                self.assertEqual(len(clips), 1)
                self.assertEqual(clips[0].findtext("name"), "gray.mov")
                self.assertEqual(clips[0].findtext("rate/timebase"), "25")
                self.assertEqual(clips[0].findtext("file/timecode/string"), "01:00:00:00")
                self.assertEqual(clips[0].findtext("file/timecode/frame"), "90000")
                texts.append(self.read(path))
        self.assertEqual(len(set(texts)), 1, "every form gives the same document")

    def test_ignoring_timecode_and_skipping_what_cannot_be_read(self):
        records = [qrl_conduit.timecode_details(self.clip, "01:00:00:00", 2),
                   qrl_conduit.timecode_details(self.out("absent.mov"), "01:00:00:00", 2),
                   qrl_conduit.timecode_details(None, "01:00:00:00", 2)]
        path = self.out("ignored.xml")
        self.assertIs(self.conduit.call(WRITE_GROUP, [path], records, True), True)
        clips = self.clips_in(path)
        self.assertEqual(len(clips), 1)
        self.assertIsNone(clips[0].find("file/timecode"))
        self.assertEqual(clips[0].findtext("in"), "0")

    def test_error_replies_name_the_fault_and_serving_goes_on(self):
        cases = [
            ("unknown selector", "frobnicate:", [1], "unrecognized selector 'frobnicate:'"),
            ("service not in this build", "removeAudioTracksFromQuicktimeMovieAtPath:",
             ["/x.mov"],
             "unrecognized selector"),
            ("too many", "communicationLocked", [1], "expected 0 arguments, got 1"),
            ("too few", WRITE_DATA, [[], []], "expected 3 arguments, got 2"),
            ("string for int32", "setParentProcessId:", ["me"],
             "argument 1 (int32): expected an integer, got string"),
            ("real for int32", "setParentProcessId:", [1.0], "expected an integer, got real"),
            ("out of int32", "setParentProcessId:", [1 << 33], "out of range"),
            ("integer for bool", WRITE_DATA, [[], [], 0], "argument 3 (bool)"),
            ("nil for a string", "vendAsDistributedObjectWithRegisteredName:", [None],
             "expected a string, got null"),
            ("nil paths", WRITE_DATA, [None, [], False], "paths must be an array of strings"),
            ("a path that is a number", WRITE_GROUP, [[7], [], False], "paths must hold only strings"),
            ("data that is no archive", WRITE_DATA, [[], [b"not an archive"], False], ""),
            ("records of the wrong type", WRITE_GROUP, [[], [3], False],
             "archives or dictionaries"),
        ]
        for what, selector, arguments, expected in cases:
            with self.subTest(what):
                with self.assertRaises(qrl_conduit.RemoteError) as caught:
                    self.conduit.call(selector, *arguments)
                self.assertIn(expected, caught.exception.message)
                self.assertEqual(caught.exception.selector, selector)
        self.assertIs(self.conduit.call("communicationLocked"), False)

    def test_an_undecodable_archive_fails_the_call_before_anything_is_written(self):
        path = self.out("never.xml")
        good = qrl_conduit.archived_timecode_details(self.clip, "01:00:00:00", 2)
        with self.assertRaises(qrl_conduit.RemoteError):
            self.conduit.call(WRITE_DATA, [path], [good, b"bplist00garbage"], False)
        self.assertFalse(os.path.exists(path))


class RawFramesTest(RuntimeTestCase):
    """Bytes no well-behaved client sends, straight onto the socket."""

    def setUp(self):
        super().setUp()
        self.conduit = self.launch(name="raw")

    def raw(self):
        sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        sock.settimeout(5)
        sock.connect(qrl_conduit.socket_path("raw"))
        self.addCleanup(sock.close)
        return sock

    @staticmethod
    def reply_on(sock):
        header = sock.recv(4, socket.MSG_WAITALL)
        if len(header) < 4:
            return None
        (length,) = struct.unpack(">I", header)
        return plistlib.loads(sock.recv(length, socket.MSG_WAITALL))

    def test_malformed_bodies_get_error_replies_on_the_same_connection(self):
        sock = self.raw()
        cases = [
            ("garbage", b"hello", ""),
            ("empty body", b"", ""),
            ("an array", plistlib.dumps(["x"], fmt=plistlib.FMT_BINARY), "not a dictionary"),
            ("no selector", plistlib.dumps({"arguments": []}, fmt=plistlib.FMT_BINARY),
             "no 'selector' string"),
            ("no arguments", plistlib.dumps({"selector": "killSelf"}, fmt=plistlib.FMT_BINARY),
             "no 'arguments' array"),
            ("signatureOf not a string", plistlib.dumps({"signatureOf": 3},
                                                        fmt=plistlib.FMT_BINARY), "signatureOf"),
        ]
        for what, body, expected in cases:
            with self.subTest(what):
                sock.sendall(qrl_conduit.frame(body))
                reply = self.reply_on(sock)
                self.assertIsNotNone(reply, "the connection was closed")
                self.assertIn("error", reply)
                self.assertIn(expected, reply["error"])
        sock.sendall(qrl_conduit.frame(qrl_conduit.encode_request("communicationLocked", [])))
        self.assertEqual(self.reply_on(sock), {"result": False})

    def test_pipelined_requests_are_answered_in_order_with_nil_as_the_marker(self):
        sock = self.raw()
        sock.sendall(qrl_conduit.frame(qrl_conduit.encode_request("lockCommunication", []))
                     + qrl_conduit.frame(qrl_conduit.encode_signature_request("killSelf"))
                     + qrl_conduit.frame(qrl_conduit.encode_request("communicationLocked", [])))
        self.assertEqual(self.reply_on(sock), {"result": {"$nil": True}})
        self.assertEqual(self.reply_on(sock), {"signature": {"arguments": [], "result": "none"}})
        self.assertEqual(self.reply_on(sock), {"result": True})

    def test_an_oversized_length_is_answered_then_the_connection_closed(self):
        sock = self.raw()
        sock.sendall(struct.pack(">I", (64 << 20) + 1))
        reply = self.reply_on(sock)
        self.assertIn("exceeds the limit", reply["error"])
        self.assertEqual(sock.recv(1), b"", "the connection stays open")

    def test_a_hang_up_inside_a_frame_leaves_the_conduit_serving(self):
        sock = self.raw()
        sock.sendall(b"\x00\x00\x00\x32bp")
        sock.close()
        self.assertIs(self.conduit.call("communicationLocked"), False)
        self.assertIsNone(self.conduit.process.poll())


class CommandLineTest(RuntimeTestCase):
    def run_client(self, *arguments):
        return subprocess.run([sys.executable, CLIENT, *arguments], capture_output=True,
                              text=True, timeout=30)

    def test_call_and_signature_print_json(self):
        out = self.root + "/cli.xml"
        done = self.run_client("--conduit", CONDUIT, "call", WRITE_DATA, f'["{out}"]', "[]",
                               "false")
        self.assertEqual((done.returncode, done.stdout.strip()), (0, "true"), done.stderr)
        self.assertTrue(os.path.exists(out))
        done = self.run_client("--conduit", CONDUIT, "signature", "setParentProcessId:")
        self.assertEqual(done.stdout.strip(), '{"arguments": ["int32"], "result": "none"}')

    def test_failures_are_reported_with_a_non_zero_status(self):
        cases = {
            "remote error": (["--conduit", CONDUIT, "call", "frobnicate:"], "unrecognized"),
            "bad JSON": (["--conduit", CONDUIT, "call", "setParentProcessId:", "{"], "not JSON"),
            "nobody serves the name": (["--name", "nobody", "call", "killSelf"],
                                       "nothing serves 'nobody'"),
        }
        for what, (arguments, expected) in cases.items():
            with self.subTest(what):
                done = self.run_client(*arguments)
                self.assertNotEqual(done.returncode, 0)
                self.assertIn(expected, done.stderr)

    def test_help(self):
        done = self.run_client("--help")
        self.assertEqual(done.returncode, 0)
        self.assertIn("--conduit PATH", done.stdout)


if __name__ == "__main__":
    unittest.main()
