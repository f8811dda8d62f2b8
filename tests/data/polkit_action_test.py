"""The action that stands between a user and root's rights."""

import os
import subprocess
import unittest
import xml.etree.ElementTree as ElementTree

import generated_files as files

ACTION = "com.varnel.corvane.mero.collect"
POLKITD = "/usr/lib/polkit-1/polkitd"

# Polkit with nothing but our action, in a mount namespace, and a bus; all of it ends with the shell.
SESSION = """
set -eu
mount --make-rprivate /
mount -t tmpfs -o mode=755 tmpfs /usr/share/polkit-1/actions
cp "$1" /usr/share/polkit-1/actions/
export DBUS_SYSTEM_BUS_ADDRESS="unix:path=$2/bus"
dbus-daemon --config-file="$2/bus.conf" --nofork --nopidfile --nosyslog --print-address=3 3>"$2/ready" &
read -r address <"$2/ready"
exec pkaction --verbose --action-id "$3"
"""

# polkit is started by the bus, which holds back the call until it has its name.
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path={folder}/bus</listen>
  <auth>EXTERNAL</auth>
  <servicedir>{folder}</servicedir>
  <policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*"/>
  <allow receive_sender="*"/></policy>
</busconfig>
"""

SERVICE = "[D-BUS Service]\nName=org.freedesktop.PolicyKit1\nExec={polkitd} --no-debug\n"


class HelperAction(files.FolderTest):
    def action(self):
        actions = ElementTree.parse(files.POLKIT_POLICY).getroot().findall("action")
        self.assertEqual([action.get("id") for action in actions], [ACTION])
        return actions[0]

    def testAnAdministratorIsAskedForAlways(self):
        defaults = {entry.tag: entry.text for entry in self.action().find("defaults")}
        self.assertEqual(defaults, {
            "allow_any": "auth_admin",
            "allow_inactive": "auth_admin",
            "allow_active": "auth_admin_keep",
        })

    def testItImpliesNoOtherAction(self):
        self.assertEqual(self.action().findall("annotate"), [])

    def testItsTextsAreFoundForTranslation(self):
        done = subprocess.run(["xgettext", "--omit-header", "-o", "-", files.POLKIT_POLICY], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        found = [line for line in done.stdout.splitlines() if line.startswith("msgid ")]
        texts = [self.action().find(name) for name in ("description", "message")]
        self.assertEqual(found, ['msgid "%s"' % text.text if len(text.text) < 70 else 'msgid ""' for text in texts])
        for text in texts:
            self.assertEqual(text.get("gettext-domain"), "Trellink")

    def testPolkitReadsItAsItIsMeant(self):
        if os.geteuid() != 0:
            self.skipTest("only root can show polkit another folder of actions")
        if not os.path.exists(POLKITD):
            self.skipTest("polkit's daemon is not where this test looks for it")
        for name, text in (("bus.conf", BUS), ("polkit.service", SERVICE)):
            with open(self.path(name), "w", encoding="utf-8") as file:
                file.write(text.format(folder=self.folder, polkitd=POLKITD))
        os.mkfifo(self.path("ready"))
        done = subprocess.run(["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
                               "sh", "-c", SESSION, "sh", files.POLKIT_POLICY, self.folder, ACTION],
                              capture_output=True, text=True, timeout=100)
        self.assertEqual(done.returncode, 0, done.stderr)
        told = dict(line.strip().split(":", 1) for line in done.stdout.splitlines() if ":" in line)
        self.assertEqual({name: told["implicit " + name].strip() for name in ("any", "inactive", "active")},
                         {"any": "auth_admin", "inactive": "auth_admin", "active": "auth_admin_keep"})
        self.assertEqual(told["message"].strip(), self.action().find("message").text)


if __name__ == "__main__":
    unittest.main()
