"""docs/protocol.md is the contract: its method tables must match the remote
interface table of the protocol library and what a running conduit answers."""

import os
import re
import subprocess
import unittest

from support import BINARY_DIR, SOURCE_DIR, RuntimeTestCase, qrl_conduit

QRL = os.path.join(BINARY_DIR, "apps", "qrl", "qrl")


def documented_methods():
    """{selector: (protocol, served, [argument kinds], result kind)} from the doc's tables."""
    with open(os.path.join(SOURCE_DIR, "docs", "protocol.md"), encoding="utf-8") as f:
        text = f.read()
    methods = {}
    protocol = served = None
    for line in text.splitlines():
        heading = re.match(r"### `(\w+Protocol)` \((served|not in this build)\)", line)
        if heading:
            protocol, served = heading.group(1), heading.group(2) == "served"
            continue
        if line.startswith("## "):
            protocol = None
        row = re.match(r"\| `([^`]+)` \| ([^|]+) \| ([^|]+) \|$", line)
        if protocol and row:
            arguments = row.group(2).strip()
            kinds = [] if arguments == "—" else [k.strip() for k in arguments.split(",")]
            methods[row.group(1)] = (protocol, served, kinds, row.group(3).strip())
    return methods


def source_methods():
    """The same shape from the remote interface table, as `qrl call --list` prints it."""
    listing = subprocess.run([QRL, "call", "--list"], check=True, capture_output=True,
                             text=True).stdout
    methods = {}
    for line in listing.splitlines():
        selector, protocol, arguments, result = line.split("\t")
        methods[selector] = (protocol, [k for k in arguments.split(",") if k], result)
    return methods


class ProtocolDocumentTest(RuntimeTestCase):
    def test_the_tables_list_every_remote_method_with_its_kinds(self):
        documented = documented_methods()
        source = source_methods()
        self.assertGreater(len(source), 40, "the source table was not read")
        self.assertEqual(sorted(documented), sorted(source))
        for selector, (protocol, kinds, result) in source.items():
            with self.subTest(selector):
                self.assertEqual(documented[selector][0], protocol)
                self.assertEqual(documented[selector][2:], (kinds, result))

    def test_a_running_conduit_answers_what_the_tables_say(self):
        conduit = self.launch()
        documented = documented_methods()
        self.assertTrue(any(served for _, served, _, _ in documented.values()))
        for selector, (_, served, kinds, result) in documented.items():
            with self.subTest(selector):
                try:
                    signature = conduit.signature(selector)
                except qrl_conduit.RemoteError as e:
                    self.assertFalse(served, f"documented as served: {e}")
                    self.assertIn("unrecognized selector", e.message)
                    continue
                # A service that landed since the doc was written must still match it.
                self.assertEqual(signature, qrl_conduit.Signature(kinds, result))


if __name__ == "__main__":
    unittest.main()
