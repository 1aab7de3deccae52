#!/usr/bin/env python3
"""A parent's client for the conduit, with nothing but the standard library.

The wire protocol is described in docs/protocol.md. In short: a Unix stream
socket per registered name in a private per-user directory; frames of a
4-byte big-endian length and a binary property list; requests
{"selector", "arguments"} or {"signatureOf"}; replies {"result"},
{"signature"} or {"error"}; nil as {"$nil": true}.

    with qrl_conduit.Conduit.launch("/path/to/qrl-conduit") as conduit:
        conduit.call("communicationLocked")            # False
        conduit.call("saveFinalCut7XmlToPaths:forTimecodeDetailsInGroup:ignoreTimecode:",
                     ["/tmp/out.xml"], [timecode_details("/m/a.mov", "01:00:00:00", 2)], False)

Run it as a program for a small command line: see --help.
"""

import argparse
import datetime
import fcntl
import json
import os
import plistlib
import socket
import stat
import struct
import subprocess
import sys
import time

__all__ = [
    "ConduitError", "RemoteError", "ProtocolError", "ConnectionClosed", "LaunchError",
    "Signature", "ParentRegistration", "Connection", "Conduit",
    "runtime_directory", "socket_path", "register_as_parent", "wait_for_name",
    "point", "size", "track", "timecode_def", "timecode_details",
    "archived_timecode_details", "encode_request", "encode_signature_request", "frame",
]

NIL = {"$nil": True}
MAX_FRAME_BYTES = 64 << 20
MAX_NAME_LENGTH = 64
PARENT_BUNDLE_IDENTIFIER = "com.quorlan.Ravelmark4"
PARENT_DISPLAY_NAME = "Ravelmark4"
PARENT_MUST_NOT_BE_SELF = "QRLDistributedParentMustNotBeSelfArgument"


class ConduitError(Exception):
    """Anything that went wrong talking to a conduit."""


class RemoteError(ConduitError):
    """The conduit answered with an error reply."""

    def __init__(self, selector, message):
        # The conduit's messages mostly name the selector already.
        named = not selector or selector in message
        super().__init__(message if named else f"{selector}: {message}")
        self.selector = selector
        self.message = message


class ProtocolError(ConduitError):
    """A reply that is not a well-formed message."""


class ConnectionClosed(ConduitError):
    """The conduit closed the connection instead of answering."""


class LaunchError(ConduitError):
    """The conduit did not come up under its name in time."""


class Signature:
    """A remote method's kinds, as the conduit names them ("int32", "movie", ...)."""

    def __init__(self, arguments, result):
        self.arguments = list(arguments)
        self.result = result

    def __eq__(self, other):
        return (isinstance(other, Signature) and self.arguments == other.arguments
                and self.result == other.result)

    def __repr__(self):
        return f"Signature({self.arguments!r}, {self.result!r})"


# --- Locations -------------------------------------------------------------

def _private_directory(path):
    try:
        os.mkdir(path, 0o700)
    except FileExistsError:
        pass
    info = os.lstat(path)
    if not stat.S_ISDIR(info.st_mode):
        raise ConduitError(f"{path} is not a directory")
    if info.st_uid != os.getuid():
        raise ConduitError(f"{path} belongs to another user")
    if info.st_mode & 0o077:
        raise ConduitError(f"{path} is open to other users")
    return path


def runtime_directory():
    """The per-user directory holding the names and the application registry."""
    own = os.environ.get("QRL_RUNTIME_DIR")
    xdg = os.environ.get("XDG_RUNTIME_DIR")
    if own:
        path = own
    elif xdg:
        path = os.path.join(xdg, "qrl-conduit")
    else:
        path = f"/tmp/qrl-conduit-{os.getuid()}"
    return _private_directory(path)


def _check_name(name):
    if (not isinstance(name, str) or not name or len(name.encode()) > MAX_NAME_LENGTH
            or name in (".", "..") or "/" in name or "\0" in name):
        raise ValueError(f"invalid registered name {name!r}")


def socket_path(name):
    _check_name(name)
    return os.path.join(runtime_directory(), name + ".sock")


# --- The running parent application ----------------------------------------

class ParentRegistration:
    """This process's entry in the registry of running applications.

    The conduit lives while an entry for com.quorlan.Ravelmark4 is held: the
    file <runtime>/apps/<bundle>@<pid>, holding the display name, under an
    exclusive flock for as long as the parent runs.
    """

    def __init__(self, bundle_identifier=PARENT_BUNDLE_IDENTIFIER,
                 display_name=PARENT_DISPLAY_NAME):
        if not bundle_identifier or "/" in bundle_identifier:
            raise ValueError(f"invalid bundle identifier {bundle_identifier!r}")
        apps = _private_directory(os.path.join(runtime_directory(), "apps"))
        self.path = os.path.join(apps, f"{bundle_identifier}@{os.getpid()}")
        fd = os.open(self.path, os.O_RDWR | os.O_CREAT | os.O_TRUNC | os.O_CLOEXEC, 0o600)
        try:
            fcntl.flock(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)
            os.write(fd, (display_name + "\n").encode())
        except OSError:
            os.close(fd)
            raise
        self._fd = fd

    @property
    def held(self):
        return self._fd is not None

    def release(self):
        """Drops the entry; a conduit watching for it ends itself soon after."""
        if self._fd is None:
            return
        try:
            os.unlink(self.path)
        except FileNotFoundError:
            pass
        os.close(self._fd)
        self._fd = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.release()

    def __del__(self):
        if getattr(self, "_fd", None) is not None:
            self.release()


def register_as_parent(bundle_identifier=PARENT_BUNDLE_IDENTIFIER,
                       display_name=PARENT_DISPLAY_NAME):
    return ParentRegistration(bundle_identifier, display_name)


# --- Wire forms ------------------------------------------------------------

def point(x, y):
    return {"x": float(x), "y": float(y)}


def size(width, height):
    return {"width": float(width), "height": float(height)}


def track(movie_path, index):
    """A movie's track, numbered from 1."""
    return {"path": movie_path, "index": int(index)}


def timecode_def(flags, time_scale, frame_duration, num_frames):
    return {"flags": int(flags), "timeScale": int(time_scale),
            "frameDuration": int(frame_duration), "numFrames": int(num_frames)}


def timecode_details(source_file_path=None, start_timecode=None, frame_rate=10):
    """A clip's timecode details in dictionary form ("frame", "filePath", "tc")."""
    record = {"frame": int(frame_rate)}
    if source_file_path is not None:
        record["filePath"] = source_file_path
    if start_timecode is not None:
        record["tc"] = start_timecode
    return record


def archived_timecode_details(source_file_path=None, start_timecode=None, frame_rate=10):
    """A clip's timecode details as keyed-archive data ("filePath", "timecode", "rate")."""
    objects = ["$null"]

    def reference(value):
        if value is None:
            return plistlib.UID(0)
        objects.append(value)
        return plistlib.UID(len(objects) - 1)

    root = {}
    objects.append(root)
    root["filePath"] = reference(source_file_path)
    root["timecode"] = reference(start_timecode)
    root["rate"] = reference(int(frame_rate))
    objects.append({"$classname": "QRLTimecodeDetailsWrapper",
                    "$classes": ["QRLTimecodeDetailsWrapper", "NSObject"]})
    root["$class"] = plistlib.UID(len(objects) - 1)
    archive = {"$archiver": "NSKeyedArchiver", "$version": 100000,
               "$top": {"root": plistlib.UID(1)}, "$objects": objects}
    return plistlib.dumps(archive, fmt=plistlib.FMT_BINARY, sort_keys=False)


def _reject_nested_none(value, where):
    # The marker is only understood for a whole argument or result.
    if value is None:
        raise TypeError(f"{where}: nil can only be a whole argument, not inside a collection")
    if isinstance(value, dict):
        for key, item in value.items():
            _reject_nested_none(item, f"{where}[{key!r}]")
    elif isinstance(value, (list, tuple)):
        for i, item in enumerate(value):
            _reject_nested_none(item, f"{where}[{i}]")


def _to_wire(value, where):
    if value is None:
        return NIL
    _reject_nested_none(value, where)
    return value


def _from_wire(value):
    return None if value == NIL else value


def _dumps(message):
    try:
        return plistlib.dumps(message, fmt=plistlib.FMT_BINARY, sort_keys=False)
    except (TypeError, OverflowError) as e:
        raise TypeError(f"cannot send {message!r}: {e}") from None


def encode_request(selector, arguments):
    """The body of a call request."""
    wire = [_to_wire(a, f"argument {i + 1}") for i, a in enumerate(arguments)]
    return _dumps({"selector": selector, "arguments": wire})


def encode_signature_request(selector):
    return _dumps({"signatureOf": selector})


def frame(body):
    if len(body) > MAX_FRAME_BYTES:
        raise ValueError(f"message of {len(body)} bytes exceeds the {MAX_FRAME_BYTES}-byte limit")
    return struct.pack(">I", len(body)) + body


def decode_reply(body):
    """The reply as a dictionary with one of "result", "signature" or "error"."""
    try:
        reply = plistlib.loads(body, fmt=plistlib.FMT_BINARY)
    except Exception as e:  # plistlib raises several kinds for bad bytes
        raise ProtocolError(f"reply is not a binary property list: {e}") from None
    if not isinstance(reply, dict) or not ({"result", "signature", "error"} & reply.keys()):
        raise ProtocolError(f"reply has neither 'result', 'signature' nor 'error': {reply!r}")
    return reply


# --- A connection to a registered name ---------------------------------------

class Connection:
    """One connection to the conduit serving `name`."""

    def __init__(self, name, timeout=None):
        self.name = name
        path = socket_path(name)
        sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        try:
            sock.settimeout(timeout)
            sock.connect(path)
            creds = sock.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED,
                                    struct.calcsize("3i"))
            _, uid, _ = struct.unpack("3i", creds)
            if uid != os.getuid():
                raise ConduitError(f"'{name}' is served by user {uid}, not by this user")
        except BaseException:
            sock.close()
            raise
        self._sock = sock

    def _receive_exact(self, size):
        chunks = []
        while size:
            chunk = self._sock.recv(min(size, 1 << 20))
            if not chunk:
                return None if not chunks else b"".join(chunks)
            chunks.append(chunk)
            size -= len(chunk)
        return b"".join(chunks)

    def exchange(self, body):
        """Sends one request body and returns the decoded reply dictionary."""
        if self._sock is None:
            raise ConnectionClosed(f"connection to '{self.name}' is closed")
        try:
            self._sock.sendall(frame(body))
            header = self._receive_exact(4)
            if header is None or len(header) < 4:
                raise ConnectionClosed(f"'{self.name}' closed the connection without a reply")
            (length,) = struct.unpack(">I", header)
            if length > MAX_FRAME_BYTES:
                raise ProtocolError(f"reply of {length} bytes exceeds the limit")
            reply = self._receive_exact(length) if length else b""
            if reply is None or len(reply) < length:
                raise ConnectionClosed(f"'{self.name}' closed the connection inside a reply")
        except (ConnectionResetError, BrokenPipeError) as e:
            self.close()
            raise ConnectionClosed(f"'{self.name}' dropped the connection: {e}") from None
        except (ConnectionClosed, ProtocolError, OSError):
            self.close()  # out of step now; never reuse the stream
            raise
        return decode_reply(reply)

    def call(self, selector, *arguments):
        reply = self.exchange(encode_request(selector, arguments))
        if "error" in reply:
            raise RemoteError(selector, str(reply["error"]))
        if "result" not in reply:
            raise ProtocolError(f"{selector}: reply without a result: {reply!r}")
        return _from_wire(reply["result"])

    def signature(self, selector):
        reply = self.exchange(encode_signature_request(selector))
        if "error" in reply:
            raise RemoteError(selector, str(reply["error"]))
        answer = reply.get("signature")
        if (not isinstance(answer, dict) or not isinstance(answer.get("arguments"), list)
                or not isinstance(answer.get("result"), str)):
            raise ProtocolError(f"{selector}: malformed signature {answer!r}")
        return Signature(answer["arguments"], answer["result"])

    def close(self):
        if self._sock is not None:
            self._sock.close()
            self._sock = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


def wait_for_name(name, timeout=3.0, process=None, call_timeout=None):
    """Connects to `name` as soon as it is served, polling every 20 ms.

    `call_timeout` bounds each later exchange (None waits as long as a call
    takes: a burn over a long movie may take minutes).
    """
    deadline = time.monotonic() + timeout
    while True:
        try:
            return Connection(name, timeout=call_timeout)
        except (FileNotFoundError, ConnectionRefusedError):
            pass
        if process is not None and process.poll() is not None:
            raise LaunchError(f"the conduit ended (status {process.returncode}) "
                              f"before serving '{name}'")
        if time.monotonic() >= deadline:
            raise LaunchError(f"nothing serves '{name}' after {timeout:g} s")
        time.sleep(0.02)


# --- A conduit as a parent holds it --------------------------------------------

class Conduit:
    """A conduit this process launched (or connected to), with its connection.

    launch() registers this process as the running parent application unless
    told not to, starts the program, waits for its name and reports this
    process as its parent with setParentProcessId:. Closing releases the
    connection and the registration; the conduit then ends itself.
    """

    def __init__(self, connection, process=None, registration=None):
        self.connection = connection
        self.process = process
        self.registration = registration

    @property
    def name(self):
        return self.connection.name

    @property
    def pid(self):
        return self.process.pid if self.process is not None else None

    @classmethod
    def launch(cls, path, name=None, register_parent=True, report_parent=True,
               parent_must_not_be_self=False, env=None, timeout=3.0, call_timeout=None):
        registration = register_as_parent() if register_parent else None
        process = None
        try:
            arguments = [path]
            if name is not None:
                _check_name(name)
                arguments.append(name)
            if parent_must_not_be_self:
                arguments.append(PARENT_MUST_NOT_BE_SELF)
            # Its own process group, so a ^C aimed at the parent spares it.
            group = ({"process_group": 0} if sys.version_info >= (3, 11)
                     else {"start_new_session": True})
            process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, env=env, **group)
            served = name if name is not None else str(process.pid)
            connection = wait_for_name(served, timeout, process, call_timeout)
            conduit = cls(connection, process, registration)
            if report_parent:
                try:
                    conduit.call("setParentProcessId:", os.getpid())
                except ConnectionClosed:
                    # Without a parent application it ends right after publishing.
                    try:
                        status = process.wait(timeout=1.0)
                    except subprocess.TimeoutExpired:
                        raise
                    raise LaunchError(f"the conduit ended (status {status}) before taking "
                                      f"its parent; is the parent application registered?")
            return conduit
        except BaseException:
            if process is not None and process.poll() is None:
                process.kill()
                process.wait()
            if registration is not None:
                registration.release()
            raise

    @classmethod
    def connect(cls, name, timeout=None):
        try:
            return cls(Connection(name, timeout=timeout))
        except (FileNotFoundError, ConnectionRefusedError):
            raise ConduitError(f"nothing serves '{name}'") from None

    def call(self, selector, *arguments):
        return self.connection.call(selector, *arguments)

    def signature(self, selector):
        return self.connection.signature(selector)

    def close(self):
        self.connection.close()
        if self.registration is not None:
            self.registration.release()

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


# --- Command line ------------------------------------------------------------------

def _printable(value):
    if isinstance(value, bytes):
        return {"$data": value.hex()}
    if isinstance(value, plistlib.UID):
        return {"$uid": value.data}
    if isinstance(value, datetime.datetime):
        return value.isoformat()
    if isinstance(value, dict):
        return {k: _printable(v) for k, v in value.items()}
    if isinstance(value, list):
        return [_printable(v) for v in value]
    return value


def _parsed_argument(text):
    try:
        value = json.loads(text)
    except json.JSONDecodeError as e:
        raise SystemExit(f"argument {text!r} is not JSON: {e}")
    if isinstance(value, dict) and set(value) == {"$data"}:
        return bytes.fromhex(value["$data"])
    return value


def main(argv=None):
    parser = argparse.ArgumentParser(
        prog="qrl_conduit.py",
        description="Talk to a conduit as its parent application. Arguments are JSON "
                    "(null for nil, {\"$data\": HEX} for data).")
    where = parser.add_mutually_exclusive_group(required=True)
    where.add_argument("--conduit", metavar="PATH", help="launch this conduit program")
    where.add_argument("--name", help="connect to a conduit already serving NAME")
    commands = parser.add_subparsers(dest="command", required=True)
    call = commands.add_parser("call", help="call SELECTOR with JSON arguments, print the result")
    call.add_argument("selector")
    call.add_argument("arguments", nargs="*", metavar="JSONARG")
    sig = commands.add_parser("signature", help="print the argument and result kinds of SELECTOR")
    sig.add_argument("selector")
    options = parser.parse_args(argv)

    arguments = [_parsed_argument(a) for a in getattr(options, "arguments", [])]
    try:
        conduit = (Conduit.launch(options.conduit) if options.conduit
                   else Conduit.connect(options.name))
        with conduit:
            if options.command == "call":
                result = conduit.call(options.selector, *arguments)
                print(json.dumps(_printable(result)))
            else:
                s = conduit.signature(options.selector)
                print(json.dumps({"arguments": s.arguments, "result": s.result}))
    except (ConduitError, OSError, ValueError, TypeError) as e:
        print(f"qrl_conduit.py: {e}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
