"""The client's message forms, registry entry and runtime directory, checked
with plistlib and flock as the conduit reads them."""

import fcntl
import os
import plistlib
import random
import socket
import struct
import threading
import unittest

from support import RuntimeTestCase, qrl_conduit


class MessageFormsTest(unittest.TestCase):
    def test_a_request_carries_nil_as_the_marker_and_keeps_data_and_uids(self):
        body = qrl_conduit.encode_request(
            "sel:with:", [None, b"\x00\x01", plistlib.UID(3), [1, "a"], {"x": 1.5}, True])
        self.assertTrue(body.startswith(b"bplist00"))
        message = plistlib.loads(body)
        self.assertEqual(message["selector"], "sel:with:")
        self.assertEqual(message["arguments"],
                         [{"$nil": True}, b"\x00\x01", plistlib.UID(3), [1, "a"], {"x": 1.5}, True])

    def test_nil_inside_a_collection_is_refused_before_sending(self):
        for argument in ([1, None], {"k": None}, [{"deep": [None]}]):
            with self.subTest(argument=argument):
                with self.assertRaisesRegex(TypeError, "argument 1"):
                    qrl_conduit.encode_request("s:", [argument])

    def test_values_a_property_list_cannot_hold_are_refused(self):
        for argument in (object(), 1 << 70, {1: "key not a string"}):
            with self.subTest(argument=argument):
                with self.assertRaises(TypeError):
                    qrl_conduit.encode_request("s:", [argument])

    def test_a_frame_is_a_big_endian_length_then_the_body(self):
        self.assertEqual(qrl_conduit.frame(b"abc"), b"\x00\x00\x00\x03abc")
        body = bytes(300)
        self.assertEqual(qrl_conduit.frame(body)[:4], struct.pack(">I", 300))

        class Huge(bytes):
            def __len__(self):
                return (64 << 20) + 1

        with self.assertRaisesRegex(ValueError, "limit"):
            qrl_conduit.frame(Huge())

    def test_replies_that_are_not_messages_are_protocol_errors(self):
        cases = {
            "not a property list": b"hello",
            "an array": plistlib.dumps(["result"], fmt=plistlib.FMT_BINARY),
            "no known key": plistlib.dumps({"answer": 1}, fmt=plistlib.FMT_BINARY),
            "XML, not binary": plistlib.dumps({"result": 1}),
        }
        for what, body in cases.items():
            with self.subTest(what):
                with self.assertRaises(qrl_conduit.ProtocolError):
                    qrl_conduit.decode_reply(body)

    def test_mangled_replies_only_ever_give_protocol_errors(self):
        seeds = [plistlib.dumps(r, fmt=plistlib.FMT_BINARY)
                 for r in ({"result": {"$nil": True}}, {"error": "x"},
                           {"signature": {"arguments": ["int32"], "result": "none"}})]
        rng = random.Random(7)
        for _ in range(3000):
            body = bytearray(rng.choice(seeds))
            for _ in range(rng.randint(1, 6)):
                body[rng.randrange(len(body))] = rng.randrange(256)
            try:
                self.assertIsInstance(qrl_conduit.decode_reply(bytes(body)), dict)
            except qrl_conduit.ProtocolError:
                pass

    def test_an_archived_record_writes_absent_strings_as_the_nil_reference(self):
        archive = plistlib.loads(qrl_conduit.archived_timecode_details(None, "01:00:00;00", 5))
        objects = archive["$objects"]
        root = objects[archive["$top"]["root"].data]
        self.assertEqual(root["filePath"], plistlib.UID(0))
        self.assertEqual(objects[root["timecode"].data], "01:00:00;00")
        self.assertEqual(objects[root["rate"].data], 5)
        self.assertEqual(objects[root["$class"].data]["$classname"], "QRLTimecodeDetailsWrapper")

    def test_the_dictionary_form_uses_its_own_keys(self):
        self.assertEqual(qrl_conduit.timecode_details(), {"frame": 10})
        self.assertEqual(qrl_conduit.timecode_details("/a.mov", "00:00:01:00", 2),
                         {"frame": 2, "filePath": "/a.mov", "tc": "00:00:01:00"})

    def test_remote_errors_name_the_selector_once(self):
        self.assertEqual(str(qrl_conduit.RemoteError("a:", "a:: argument 1 (int32): bad")),
                         "a:: argument 1 (int32): bad")
        self.assertEqual(str(qrl_conduit.RemoteError("a:", "paths must be an array")),
                         "a:: paths must be an array")


class MisbehavingServerTest(RuntimeTestCase):
    """The client facing a server that breaks the framing."""

    def serve_once(self, answer):
        listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        listener.bind(qrl_conduit.socket_path("liar"))
        listener.listen(1)
        self.addCleanup(listener.close)

        def run():
            peer, _ = listener.accept()
            with peer:
                header = peer.recv(4, socket.MSG_WAITALL)
                peer.recv(struct.unpack(">I", header)[0], socket.MSG_WAITALL)
                peer.sendall(answer)

        thread = threading.Thread(target=run, daemon=True)
        thread.start()
        self.addCleanup(thread.join, 5)
        return qrl_conduit.Connection("liar", timeout=5)

    def test_broken_replies_raise_and_close_the_connection(self):
        cases = [
            ("length over the limit", struct.pack(">I", (64 << 20) + 1), qrl_conduit.ProtocolError),
            ("hang-up inside a reply", struct.pack(">I", 100) + b"bplist00",
             qrl_conduit.ConnectionClosed),
            ("hang-up before a reply", b"", qrl_conduit.ConnectionClosed),
            ("a reply that is no message", qrl_conduit.frame(b"\x00" * 8), qrl_conduit.ProtocolError),
        ]
        for what, answer, error in cases:
            with self.subTest(what):
                connection = self.serve_once(answer)
                with self.assertRaises(error):
                    connection.call("communicationLocked")
                with self.assertRaises(qrl_conduit.ConnectionClosed):
                    connection.call("communicationLocked")
                os.unlink(qrl_conduit.socket_path("liar"))


class RuntimeDirectoryTest(RuntimeTestCase):
    def test_the_directory_is_made_private(self):
        path = qrl_conduit.runtime_directory()
        self.assertEqual(path, os.environ["QRL_RUNTIME_DIR"])
        self.assertEqual(os.stat(path).st_mode & 0o777, 0o700)

    def test_a_directory_others_can_reach_or_a_file_is_refused(self):
        path = os.environ["QRL_RUNTIME_DIR"]
        os.mkdir(path, 0o700)
        os.chmod(path, 0o750)
        with self.assertRaisesRegex(qrl_conduit.ConduitError, "open to other users"):
            qrl_conduit.runtime_directory()
        os.rmdir(path)
        with open(path, "w"):
            pass
        with self.assertRaisesRegex(qrl_conduit.ConduitError, "not a directory"):
            qrl_conduit.runtime_directory()

    def test_without_its_own_variable_the_xdg_directory_is_used(self):
        del os.environ["QRL_RUNTIME_DIR"]
        os.environ["XDG_RUNTIME_DIR"] = self.root
        self.assertEqual(qrl_conduit.runtime_directory(), os.path.join(self.root, "qrl-conduit"))

    def test_names_that_cannot_be_socket_files_are_refused(self):
        for name in ("", ".", "..", "a/b", "a\0b", "n" * 65):
            with self.subTest(name=name):
                with self.assertRaises(ValueError):
                    qrl_conduit.socket_path(name)
        self.assertTrue(qrl_conduit.socket_path("n" * 64).endswith("/" + "n" * 64 + ".sock"))


class ParentRegistrationTest(RuntimeTestCase):
    def test_the_entry_is_locked_named_and_removed_on_release(self):
        with qrl_conduit.register_as_parent() as registration:
            expected = os.path.join(os.environ["QRL_RUNTIME_DIR"], "apps",
                                    f"com.quorlan.Ravelmark4@{os.getpid()}")
            self.assertEqual(registration.path, expected)
            with open(expected) as entry:
                self.assertEqual(entry.read(), "Ravelmark4\n")
                # How a reader tells a live entry: its shared lock is refused.
                with self.assertRaises(BlockingIOError):
                    fcntl.flock(entry.fileno(), fcntl.LOCK_SH | fcntl.LOCK_NB)
        self.assertFalse(registration.held)
        self.assertFalse(os.path.exists(expected))

    def test_a_bundle_identifier_with_a_slash_is_refused(self):
        with self.assertRaises(ValueError):
            qrl_conduit.register_as_parent("com/evil")


if __name__ == "__main__":
    unittest.main()
