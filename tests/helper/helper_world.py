"""The installed helper on a system bus of a test's own, with its callers and whoever answers for polkit."""

import json
import os
import pwd
import subprocess
import sys
import threading
import unittest
import zipfile

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402  (the version has to be chosen first)

from helper_configuration import GROUP, configuration, file_item, tool_item  # noqa: E402
from helper_machine import ALICE, BASE, LIMIT_SECONDS, Gate, folder, make_machine, read, wait_for, write  # noqa: E402
from helper_machine import ROOT_HOME, children, command_line, processes  # noqa: E402

NAME = "com.varnel.corvane.mero.helper"
ACTION = "com.varnel.corvane.mero.collect"
POLKIT = "org.freedesktop.PolicyKit1"
JOBS = "/var/cache/merohelper"
LOG = BASE + "/log"
BUNDLE = "/home/alice/bundle.zip"
SECRET_FILE = ROOT_HOME + "/secret.log"
SECRET = "only root may read this\n"

PROCESSING = 0xFEB1000B
SUCCESS = 0
INTERNAL = 0xFEB0000A
WRITE_FAILURE = 0xFEB0000B
INVALID_XML = 0xFEB00011
TOOL_TIMEOUT = 0xFEB00014

BUS_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/bus</listen>
  <auth>EXTERNAL</auth>
  <servicedir>{base}/services</servicedir>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"/>
    <allow send_destination="{polkit}"/>
  </policy>
  <policy user="root"><allow own="{polkit}"/></policy>
  <policy user="polkitd"><allow own="{polkit}"/></policy>
  <include>{base}/policy.conf</include>
  <!-- The helper must cope with more open calls than the bus usually lets through. -->
  <limit name="max_replies_per_connection">50000</limit>
</busconfig>
"""

RULES = """polkit.addRule(function(action, subject) {
    if (action.id == "%s") {
        return subject.user == "%s" ? polkit.Result.YES : polkit.Result.NO;
    }
});
"""

# Read before the machine's own folders hide where they lie.
FOLDER = os.path.dirname(os.path.abspath(__file__))
CALLER = read(FOLDER + "/helper_caller.py")
PROGRAMS = {name: read(os.environ[name]) for name in ("MEROHELPER", "HELPER_WITH_SHORT_TIMES")}
BUS_POLICY = read(os.environ["MERO_SOURCE_DIR"] + "/data/bus/com.varnel.corvane.mero.helper.conf")
ACTIONS = read(os.environ["MERO_POLKIT_ACTIONS"])
SUPPRESSIONS = read(os.environ["MERO_SOURCE_DIR"] + "/tests/support/lsan.supp")


class Caller:
    """A program of a user's own that is connected to the bus."""

    def __init__(self, test, user):
        entry = pwd.getpwnam(user)
        self.test = test
        self.events = []
        self.changed = threading.Condition()
        self.numbers = iter(range(1, 1000000))
        self.process = subprocess.Popen(
            ["/usr/bin/python3", "-B", BASE + "/helper_caller.py"], user=entry.pw_uid, group=entry.pw_gid,
            extra_groups=[], cwd="/", stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            env={"DBUS_SYSTEM_BUS_ADDRESS": test.address, "HOME": entry.pw_dir, "PATH": "/usr/bin:/bin",
                 "LC_ALL": "C.UTF-8"})
        self.thread = threading.Thread(target=self._listen, daemon=True)
        self.thread.start()
        self.name = self._wait(lambda event: event["event"] == "ready", "bus connection")["name"]

    def _listen(self):
        for line in self.process.stdout:
            with self.changed:
                self.events.append(json.loads(line))
                self.changed.notify_all()

    def _order(self, order, **values):
        self.process.stdin.write((json.dumps(dict(values, order=order)) + "\n").encode())
        self.process.stdin.flush()

    def _wait(self, matches, what):
        def found():
            return next((event for event in self.events if matches(event)), None)

        with self.changed:
            self.changed.wait_for(found, LIMIT_SECONDS)
            event = found()
        self.test.assertIsNotNone(event, "no %s in %d s" % (what, LIMIT_SECONDS))
        return event

    def all(self, kind):
        """All events of that kind up to now."""
        with self.changed:
            return [event for event in self.events if event["event"] == kind]

    def answer(self, number):
        return self._wait(lambda event: event["event"] == "answer" and event["number"] == number, "answer")

    def call(self, arguments, count=1, repeated=None):
        """Sends StartMERO, `count` times at once, without waiting for answers.
        @param repeated  more arguments, each a letter and how often it stands in the value.
        @return the numbers of the calls."""
        numbers = [next(self.numbers) for _ in range(count)]
        self._order("start", arguments=arguments, repeated=repeated or {}, numbers=numbers)
        return numbers

    def send(self, bundle=BUNDLE, request="", config="", password="", **options):
        """Sends StartMERO with what the wizard sends. @return the number of the last call."""
        return self.call({"MERORequestDir": request, "MEROConfigDir": config, "MEROBundlePath": bundle,
                          "MEROBundlePassword": password}, **options)[-1]

    def start(self, *values, **options):
        """@return the answer to StartMERO: a boolean, or None for an error."""
        return self.answer(self.send(*values, **options)).get("result")

    def exit(self, delay=0):
        number = next(self.numbers)
        self._order("exit", number=number, delay=delay)
        return self.answer(number)

    def ping(self):
        """When this returns, the helper runs and all that it had sent to this caller before has arrived."""
        number = next(self.numbers)
        self._order("ping", number=number)
        return self.answer(number)

    def settle(self):
        """When this returns, all that anybody had sent to this caller before has arrived."""
        number = next(self.numbers)
        self._order("settle", number=number)
        self.answer(number)

    def forge(self, receiver, status, message):
        """Sends an UpdateProgress of its own."""
        self._order("forge", to=receiver, status=status, message=message)
        self._wait(lambda event: event["event"] == "forged", "word that the signal was sent")

    def final(self):
        """Waits for the outcome of the last job that was taken. @return its status"""
        taken = sum(event.get("result") is True for event in self.all("answer"))
        with self.changed:
            self.changed.wait_for(lambda: len(self._finals()) >= taken, LIMIT_SECONDS)
        self.test.assertEqual(len(self.finals()), taken, "no outcome in %d s, or more than one" % LIMIT_SECONDS)
        return self.finals()[-1]

    def finals(self):
        """The outcomes of all jobs up to now."""
        with self.changed:
            return self._finals()

    def _finals(self):
        return [event["status"] for event in self.events
                if event["event"] == "progress" and event["status"] != PROCESSING]

    def kill(self):
        self.process.kill()
        self.process.wait()

    def close(self):
        self.kill()
        self.thread.join()
        self.process.stdin.close()
        self.process.stdout.close()


class HelperTest(unittest.TestCase):
    """The helper is installed and the bus starts it when it is first called. Nobody answers for polkit yet."""

    program = "MEROHELPER"
    # More of the helper's environment.
    environment = {}
    # Command and arguments that start it.
    launcher = ()

    def setUp(self):
        make_machine()
        self.known = {os.getpid()}
        self.address = "unix:path=/run/bus"
        write(BASE + "/helper_caller.py", CALLER)
        write(BASE + "/policy.conf", BUS_POLICY)
        write(BASE + "/lsan.supp", SUPPRESSIONS)
        write(BASE + "/merohelper", PROGRAMS[self.program], 0o755)
        write("/opt/public.log", "everybody may read this\n")
        write(SECRET_FILE, SECRET, 0o600)
        self.configure(file_item("public", "/opt/public.log"), file_item("secret", SECRET_FILE))
        self.start_bus()

    def run(self, result):
        before = len(result.failures) + len(result.errors)
        super().run(result)
        if len(result.failures) + len(result.errors) > before and os.path.exists(LOG):
            print(self.log(), file=sys.stderr)
        return result

    @staticmethod
    def configure(*items, install=BASE):
        write(install + "/xml/config/test.xml", configuration(*items))

    def hold_in_job(self, *items):
        """Installs a configuration whose last item is a tool that waits at the gate. @return the gate"""
        gate = Gate()
        self.configure(file_item("public", "/opt/public.log"), file_item("secret", SECRET_FILE), *items,
                       tool_item("tool", "/bin/cat " + gate.path))
        return gate

    def start_daemon(self, command, **options):
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, cwd="/", **options)
        self.known.add(process.pid)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def start_bus(self):
        write(BASE + "/bus.conf", BUS_CONFIGURATION.format(base=BASE, polkit=POLKIT))
        write("%s/services/%s.service" % (BASE, NAME),
              "[D-BUS Service]\nName=%s\nExec=%s\nUser=root\n" % (NAME, " ".join((*self.launcher, BASE + "/merohelper"))))
        variables = {key: value for key, value in os.environ.items() if not key.startswith(("DBUS_", "ZRN_", "MERO_"))}
        variables.update(self.environment, ZRN_LOGGING_OUTPUT="STDOUT", DBUS_SYSTEM_BUS_ADDRESS=self.address)
        if "LSAN_OPTIONS" in variables:
            variables["LSAN_OPTIONS"] = "suppressions=%s/lsan.supp:print_suppressions=0" % BASE
        written, write_end = os.pipe()
        with open(LOG, "ab") as log:
            self.bus = self.start_daemon(["dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
                               "--config-file=%s/bus.conf" % BASE, "--print-address=%d" % write_end],
                              stdout=log, stderr=log, env=variables, pass_fds=[write_end])
        os.close(write_end)
        with open(written, encoding="utf-8") as address:
            self.assertTrue(address.readline(), "the bus did not start")
        self.connection = Gio.DBusConnection.new_for_address_sync(
            self.address,
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self.connection.set_exit_on_close(False)

    def ask(self, name, path, interface, method, parameters=None):
        """@return what a method of somebody on the bus gives."""
        return self.connection.call_sync(name, path, interface, method, parameters, None, Gio.DBusCallFlags.NONE,
                                         LIMIT_SECONDS * 1000, None).unpack()

    def ask_bus(self, method, name):
        return self.ask("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                        GLib.Variant("(s)", (name,)))[0]

    def is_on_bus(self, name):
        return self.ask_bus("NameHasOwner", name)

    def wait_until_on_bus(self, name):
        wait_for(lambda: self.is_on_bus(name), name + " on the bus")

    def wait_until_gone(self, name=NAME):
        wait_for(lambda: not self.is_on_bus(name), "end of " + name)

    def start_polkit(self, user=ALICE):
        """The system's own polkit, with a rule that says yes to that user and no to the others."""
        actions = "/usr/share/polkit-1/actions"
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "mero-test", actions], check=True)
        write("%s/%s.policy" % (actions, ACTION), ACTIONS)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=755", "mero-test", "/etc/polkit-1"], check=True)
        folder("/etc/polkit-1/rules.d")
        if user:
            write("/etc/polkit-1/rules.d/40-mero.rules", RULES % (ACTION, user))
        self.start_daemon(["/usr/lib/polkit-1/polkitd", "--no-debug"], stdout=subprocess.DEVNULL,
                          env={"DBUS_SYSTEM_BUS_ADDRESS": self.address, "PATH": "/usr/sbin:/usr/bin"})
        self.wait_until_on_bus(POLKIT)

    def start_polkit_stand_in(self, allowed=True, silent=False):
        """A polkit that says yes or no to everything, or nothing until it is told to."""
        self.start_daemon(["/usr/bin/python3", "-B", "-m", "dbusmock", "--system", "--template", "polkitd"],
                          stdout=subprocess.DEVNULL,
                          env={"DBUS_SYSTEM_BUS_ADDRESS": self.address, "PATH": "/usr/bin:/bin"})
        self.wait_until_on_bus(POLKIT)
        self.tell_polkit("AllowUnknown", GLib.Variant("(b)", (allowed,)))
        self.tell_polkit("SimulateHang", GLib.Variant("(b)", (silent,)))

    def tell_polkit(self, method, parameters=None):
        return self.ask(POLKIT, "/org/freedesktop/PolicyKit1/Authority", "org.freedesktop.DBus.Mock", method,
                        parameters)

    def wait_for_question(self):
        """Returns when the silent stand-in was asked."""
        wait_for(lambda: self.tell_polkit("HaveHangingCalls")[0], "question to polkit")

    def caller(self, user=ALICE):
        caller = Caller(self, user)
        self.known.add(caller.process.pid)
        self.addCleanup(caller.close)
        return caller

    def helper(self):
        """Process number of the running helper."""
        return self.ask_bus("GetConnectionUnixProcessID", NAME)

    def worker(self):
        """Process number of the helper's one worker."""
        workers = [child for child in children(self.helper()) if "--worker" in command_line(child)]
        self.assertEqual(len(workers), 1)
        return workers[0]

    def refuses(self, caller, **values):
        """A call that is answered with no, after which nothing runs."""
        self.assertIs(caller.start(**values), False)
        self.assertEqual(children(self.helper()), set())

    def collect(self, caller, **values):
        """A whole job. @return its outcome"""
        self.assertIs(caller.start(**values), True)
        return caller.final()

    def end_helper(self, caller):
        """Lets the helper end by itself. All that it has ever sent to the caller has arrived when this returns."""
        caller.exit()
        self.wait_until_gone()
        caller.settle()

    @staticmethod
    def leavings():
        """What is left of jobs."""
        left = ["/tmp/" + name for name in os.listdir("/tmp") if name.startswith("MERO_Temp_Bundle")]
        if os.path.isdir(JOBS):
            left += [JOBS + "/" + name for name in os.listdir(JOBS)]
        return left

    def strangers(self):
        """Processes that are neither the test's nor the helper with what has started it, as text."""
        helper = {self.helper()} if self.is_on_bus(NAME) else set()
        others = {process: command_line(process) for process in set(processes()) - self.known - helper}
        return ["%d: %s" % other for other in others.items()
                if not self.launcher or not other[1].startswith(self.launcher[0])]

    def expect_nothing_left(self):
        wait_for(lambda: not self.leavings() and not self.strangers(),
                 lambda: "end of what a job leaves: %s %s" % (self.leavings(), self.strangers()))

    @staticmethod
    def names(bundle=BUNDLE):
        """The collected files in a bundle, below the group's folder."""
        with zipfile.ZipFile(bundle) as archive:
            return sorted(name[len(GROUP) + 1:] for name in archive.namelist()
                          if name.startswith(GROUP + "/") and not name.endswith("/"))

    @staticmethod
    def content(name, bundle=BUNDLE):
        """A collected file of a bundle."""
        with zipfile.ZipFile(bundle) as archive:
            return archive.read("%s/%s" % (GROUP, name)).decode()

    @staticmethod
    def everything_in(bundle=BUNDLE):
        """The contents of all files of a bundle."""
        with zipfile.ZipFile(bundle) as archive:
            return b"".join(archive.read(name) for name in archive.namelist()).decode(errors="replace")

    @staticmethod
    def log():
        return read(LOG).decode(errors="replace")


class CallerTest(HelperTest):
    """Alice, whom polkit allows to collect, is on the bus."""

    def setUp(self):
        super().setUp()
        self.start_polkit()
        self.alice = self.caller()

    def start_held_job(self, *items, **values):
        """Starts a job of hers. @return the gate at which it stands"""
        gate = self.hold_in_job(*items)
        self.assertIs(self.alice.start(**values), True)
        gate.wait()
        return gate
