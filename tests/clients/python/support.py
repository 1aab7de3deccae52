"""Shared set-up for the Python client's tests: where things are, a private
runtime directory per test, and the conduit processes a test started."""

import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SOURCE_DIR = os.environ.get("QRL_SOURCE_DIR") or os.path.abspath(
    os.path.join(os.path.dirname(__file__), "..", "..", ".."))
BINARY_DIR = os.environ.get("QRL_BINARY_DIR") or os.path.join(SOURCE_DIR, "build")
CLIENT_DIR = os.path.join(SOURCE_DIR, "clients", "python")
CLIENT = os.path.join(CLIENT_DIR, "qrl_conduit.py")
CONDUIT = os.path.join(BINARY_DIR, "apps", "qrl-conduit", "qrl-conduit")

sys.path.insert(0, CLIENT_DIR)
import qrl_conduit  # noqa: E402

WATCH_INTERVAL = 0.2  # seconds; the conduit's QRL_WATCH_INTERVAL_MS below


def ended_within(process, seconds):
    """How long until `process` ended, or None when it still runs after `seconds`."""
    start = time.monotonic()
    try:
        process.wait(timeout=seconds)
    except subprocess.TimeoutExpired:
        return None
    return time.monotonic() - start


class RuntimeTestCase(unittest.TestCase):
    """Each test gets its own runtime directory and watch interval, in this
    process's environment (the client reads it) and so in the conduit's."""

    def setUp(self):
        self.root = tempfile.mkdtemp(prefix="qrl-py-")
        self.saved_environment = dict(os.environ)
        os.environ["QRL_RUNTIME_DIR"] = os.path.join(self.root, "run")
        os.environ["QRL_WATCH_INTERVAL_MS"] = str(int(WATCH_INTERVAL * 1000))
        self.conduits = []

    def tearDown(self):
        for conduit in self.conduits:
            conduit.close()
            if conduit.process is not None and conduit.process.poll() is None:
                conduit.process.kill()
                conduit.process.wait()
        os.environ.clear()
        os.environ.update(self.saved_environment)
        shutil.rmtree(self.root, ignore_errors=True)

    def launch(self, **options):
        self.assertTrue(os.access(CONDUIT, os.X_OK), f"no conduit at {CONDUIT}")
        options.setdefault("call_timeout", 20.0)
        options.setdefault("timeout", 10.0)  # generous: the machine may be busy
        conduit = qrl_conduit.Conduit.launch(CONDUIT, **options)
        self.conduits.append(conduit)
        return conduit

    def start_bare(self, *arguments):
        """The conduit started without the client's launch sequence."""
        process = subprocess.Popen([CONDUIT, *arguments], stdin=subprocess.DEVNULL)
        self.addCleanup(lambda: (process.poll() is None and process.kill(), process.wait()))
        return process
