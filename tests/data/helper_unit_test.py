"""systemd understands the helper's unit, and the unit denies what can be denied."""

import json
import os
import re
import subprocess
import unittest

import generated_files as files

HIGHEST_EXPOSURE = 4.5

DENIALS = {
    "ProtectSystem": "full",
    "ProtectKernelModules": "yes",
    "ProtectKernelTunables": "yes",
    "ProtectControlGroups": "yes",
    "ProtectClock": "yes",
    "ProtectHostname": "yes",
    "NoNewPrivileges": "yes",
    "RestrictRealtime": "yes",
    "RestrictSUIDSGID": "yes",
    "LockPersonality": "yes",
    "MemoryDenyWriteExecute": "yes",
    "PrivateDevices": "yes",
    "RestrictNamespaces": "mnt",
    "RestrictAddressFamilies": "AF_UNIX AF_NETLINK AF_INET AF_INET6",
    "IPAddressDeny": "any",
    "IPAddressAllow": "localhost",
    "SystemCallArchitectures": "native",
    "UMask": "0077",
    "LimitCORE": "0",
}

# What the program does needs these; see the comments in the unit.
CAPABILITIES = {
    "CAP_DAC_READ_SEARCH", "CAP_SETUID", "CAP_SETGID", "CAP_KILL", "CAP_SYS_ADMIN", "CAP_SYS_PTRACE", "CAP_SYSLOG",
    "CAP_NET_ADMIN", "CAP_NET_RAW"
}


# What systemd-analyze makes where systemd has never run, as in most containers.
RUN_FOLDER = "/run/systemd"
# A /run of its own for a command of somebody who can't make it.
OWN_RUN = ["unshare", "--map-root-user", "--mount", "sh", "-c", 'mount -t tmpfs none /run && exec "$@"', "sh"]


def can_make_run_folder():
    return os.geteuid() == 0 or os.path.isdir(RUN_FOLDER) or os.access(os.path.dirname(RUN_FOLDER), os.W_OK)


def analyse(*arguments, **options):
    place = [] if can_make_run_folder() else OWN_RUN
    if place and subprocess.run([*place, "true"], capture_output=True).returncode != 0:
        raise unittest.SkipTest("only root can make %s here, and there are no namespaces for others" % RUN_FOLDER)
    return subprocess.run([*place, "systemd-analyze", "--no-pager", *arguments], capture_output=True, text=True,
                          **options)


class HelperUnit(files.FolderTest):
    def testSystemdFindsNothingToSayAboutIt(self):
        self.install()
        unit = self.path("merohelper.service")
        with open(unit, "w", encoding="utf-8") as file:
            file.write(files.read(files.UNIT).replace(files.PREFIX, self.installed(files.PREFIX)))
        # The page that it names is looked for too.
        manual = self.installed(os.environ["MERO_DATADIR"] + "/man")
        done = analyse("verify", unit, env=dict(os.environ, MANPATH=manual, LC_ALL="C.UTF-8"))
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def testExposureIsLow(self):
        done = analyse("security", "--offline=yes", files.UNIT)
        level = re.search(r"Overall exposure level for merohelper\.service: (\d+\.\d+)", done.stdout)
        self.assertIsNotNone(level, done.stdout + done.stderr)
        self.assertLessEqual(float(level.group(1)), HIGHEST_EXPOSURE)

    def testEachDirectiveLeftOpenIsSpokenOf(self):
        done = analyse("security", "--offline=yes", "--json=short", files.UNIT)
        text = files.read(files.UNIT)
        exposed = [row["name"] for row in json.loads(done.stdout) if row["set"] is False]
        self.assertIn("PrivateNetwork=", exposed)
        for row in exposed:
            names = [name.split("=")[0] for name in row.split("=/")]
            self.assertTrue(all(re.search(r"\b%s\b" % name, text) for name in names), row)

    def testItDeniesWhatTheProgramCanDoWithout(self):
        unit = files.directives(files.UNIT)
        self.assertEqual({name: unit.get(name) for name in DENIALS}, {name: [value] for name, value in DENIALS.items()})

    def testRootKeepsOnlyTheCapabilitiesThatAreUsed(self):
        lines = files.directives(files.UNIT)["CapabilityBoundingSet"]
        self.assertEqual(len(lines), 1)
        self.assertEqual(set(lines[0].split()), CAPABILITIES)

    def testSystemCallsAreFiltered(self):
        allowed, denied = files.directives(files.UNIT)["SystemCallFilter"]
        self.assertEqual(allowed, "@system-service @mount syslog")
        self.assertTrue(denied.startswith("~"), denied)

    def testAJobThatTakesTooMuchMemoryDoesNotEndTheService(self):
        unit = files.directives(files.UNIT)
        self.assertRegex(unit["MemoryMax"][0], r"^[1-9]\d*[%KMG]$")
        self.assertEqual(unit["OOMPolicy"], ["continue"])
        # The worker makes itself the first to be ended.
        self.assertLess(int(unit["OOMScoreAdjust"][0]), 0)

    def testItsFoldersAreForRootAlone(self):
        unit = files.directives(files.UNIT)
        for kind in ("Runtime", "Cache"):
            self.assertEqual(unit[kind + "Directory"], ["merohelper"])
            self.assertEqual(unit[kind + "DirectoryMode"], ["0700"])

    def testTheInstallationCanNotBeWrittenTo(self):
        self.assertEqual(files.directives(files.UNIT)["ReadOnlyPaths"], [files.PREFIX])


if __name__ == "__main__":
    unittest.main()
