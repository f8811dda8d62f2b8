"""merocli policy: what it shows of the local policy, and the file that it writes."""

import os
import re
import stat
import subprocess
import unittest

from console import MEROCLI, ConsoleTest

DEFAULTS = """FipsMode: false
BypassDownloader: false
BypassDefaultLocalization: false
RestrictScriptWebDeploy: false
RestrictHelpWebDeploy: false
RestrictResourceWebDeploy: false
RestrictLocalizationWebDeploy: false
RestrictWebLaunch: false
StrictCertificateTrust: false
EnableCRLCheck: false
OCSPRevocation: false
RestrictPreferenceCaching: false
RestrictTunnelProtocols: false
ExcludeFirefoxNSSCertStore: false
ExcludePemFileCertStore: false
ExcludeMacNativeCertStore: false
ExcludeWinNativeCertStore: false
RestrictServerCertStore: false
AllowSoftwareUpdatesFromAnyServer: true
AllowComplianceModuleUpdatesFromAnyServer: true
AllowVPNProfileUpdatesFromAnyServer: true
AllowManagementVPNProfileUpdatesFromAnyServer: true
AllowYREProfileUpdatesFromAnyServer: true
AllowServiceProfileUpdatesFromAnyServer: true
AllowScriptUpdatesFromAnyServer: true
AllowHelpUpdatesFromAnyServer: true
AllowResourceUpdatesFromAnyServer: true
AllowLocalizationUpdatesFromAnyServer: true
AuthorizedServerList:
"""

PLACE = "/opt/varnel/corvane/TrellinkLocalPolicy.xml"
MISSING = " (not there, the defaults are in force)"
NO_FILE = " (no regular file, so it is not read)"
UNWRITTEN = ("merocli: the policy file '" + PLACE + "' could not be written; look at the rights of its folder, or run the "
             "command as root; the log tells why: journalctl -t zrn_merocli\n")
BROKEN = ("merocli: the policy file '" + PLACE + "' can't be read to its end; what follows is in force all the same; the "
          "log tells why: journalctl -t zrn_merocli\n")
KEPT = "merocli: Local Security Policy file already exists and therefore will not be generated\n"
MISPLACED = "merocli: Local Policy XML structure is incorrect.\n"

# Runs a program that sees the folder $0 as /opt; nobody else sees it so.
PRIVATE = ["--mount", "--propagation", "private", "sh", "-c", 'mount --bind "$0" /opt && exec "$@"']
if os.geteuid() != 0:
    PRIVATE.insert(0, "--map-root-user")


def allows_mounts():
    return subprocess.run(["unshare", *PRIVATE, "/tmp", "true"], capture_output=True, check=False).returncode == 0


class PolicyUsage(ConsoleTest):
    """The command line; nothing is read or written."""

    def testCommandBehindPolicyIsNeeded(self):
        self.assert_usage_error("policy", command="policy", naming="a command is missing behind policy")

    def testUnknownCommandIsNamed(self):
        self.assert_usage_error("policy", "hide", command="policy", naming="hide")

    def testTwoCommandsAreOneTooMany(self):
        self.assert_usage_error("policy", "show", "generate", "bd=true", command="policy show", naming="generate")

    def testSettingsAreNeeded(self):
        for arguments in ((), ("--overwrite",)):
            self.assert_usage_error("policy", "generate", *arguments, command="policy generate",
                                    naming="what to write is missing; name settings as abbreviation=value")

    def testUnknownOptionIsNamed(self):
        self.assert_usage_error("policy", "show", "--overwrite", command="policy show", naming="--overwrite")
        self.assert_usage_error("policy", "generate", "bd=true", "--force", command="policy generate", naming="--force")
        self.assert_usage_error("policy", "generate", "-bd=true", command="policy generate", naming="-b")

    def testShowTakesNoArgument(self):
        self.assert_usage_error("policy", "show", "bd", command="policy show", naming="bd")

    def testHelpOfTheProgramNamesThePolicy(self):
        self.assertRegex(self.run_console("--help")[1], r"(?m)^  policy ")

    def testHelpNamesTheCommands(self):
        status, output, errors = self.run_console("policy", "--help")
        self.assertEqual((status, errors), (0, ""))
        for command in ("show", "generate"):
            self.assertRegex(output, r"(?m)^  " + command + " ")

    def testHelpOfGenerateNamesEverySettingAndItsValues(self):
        status, output, errors = self.run_console("policy", "generate", "--help")
        self.assertEqual((status, errors), (0, ""))
        self.assertRegex(output, r"\n {2,10}--overwrite ")
        names = re.findall(r"(?m)^  [a-z]+=\S+ +(\w+)$", output)
        self.assertEqual(names, [line.split(":")[0] for line in DEFAULTS.splitlines()])
        for row in ("fm=false|true", "rtp=false|TLS|IPSec", "ecc=true|false", "rpc=TEXT", "upal=TEXT"):
            self.assertIn("\n  " + row + " ", output)

    def testHelpTellsTheExitStatus(self):
        for arguments in ((), ("show",), ("generate",)):
            output = self.run_console("policy", *arguments, "--help")[1]
            self.assertRegex(output, r"\nExit status: 0 the .*, 1 .*, 2 the command line is wrong\.\n")


@unittest.skipUnless(allows_mounts(), "needs mounts of its own, which this environment does not allow")
class Policy(ConsoleTest):
    """The folder `opt` is /opt to the program."""

    def setUp(self):
        super().setUp()
        os.mkdir(self.path("opt"))
        self.file = self.path("opt/varnel/corvane/TrellinkLocalPolicy.xml")

    def policy(self, *arguments, **options):
        return self.run_console(*PRIVATE, self.path("opt"), MEROCLI, "policy", *arguments, program="unshare", **options)

    def write_policy(self, content):
        self.write("opt/varnel/corvane/TrellinkLocalPolicy.xml",
                   "<TrellinkLocalPolicy>" + content + "</TrellinkLocalPolicy>")

    def read_policy(self):
        with open(self.file, encoding="utf-8") as file:
            return file.read()

    def assert_shown(self, changes=(), state="", errors="", status=0):
        """The settings are the defaults but for these."""
        expected = "File: " + PLACE + state + "\n" + DEFAULTS
        for former, now in changes:
            self.assertIn(former + "\n", expected)
            expected = expected.replace(former + "\n", now + "\n")
        self.assertEqual(self.policy("show"), (status, expected, errors))

    def assert_generated(self, *arguments, errors=""):
        self.assertEqual(self.policy("generate", "--overwrite", *arguments), (0, "", errors))

    def testWithoutAFileTheDefaultsAreShown(self):
        self.assert_shown(state=MISSING)

    def testSettingsOfTheFileAreShown(self):
        self.write_policy("<FipsMode>true</FipsMode><RestrictPreferenceCaching>All,Thumbprints</RestrictPreferenceCaching>"
                          "<RestrictTunnelProtocols>ipsec</RestrictTunnelProtocols><UpdatePolicy>"
                          "<AllowHelpUpdatesFromAnyServer>false</AllowHelpUpdatesFromAnyServer><AuthorizedServerList>"
                          "<ServerName>b.example</ServerName><ServerName>a.example</ServerName></AuthorizedServerList>"
                          "</UpdatePolicy>")
        self.assert_shown((("FipsMode: false", "FipsMode: true"),
                           ("RestrictPreferenceCaching: false", "RestrictPreferenceCaching: Thumbprints,All"),
                           ("RestrictTunnelProtocols: false", "RestrictTunnelProtocols: ipsec"),
                           ("AllowHelpUpdatesFromAnyServer: true", "AllowHelpUpdatesFromAnyServer: false"),
                           ("AuthorizedServerList:", "AuthorizedServerList: b.example,a.example")))

    def testControlCharactersOfTheFileAreBlanks(self):
        self.write_policy("<UpdatePolicy><AuthorizedServerList><ServerName>a\u009b\nb</ServerName></AuthorizedServerList>"
                          "</UpdatePolicy>")
        self.assert_shown((("AuthorizedServerList:", "AuthorizedServerList: a  b"),))

    def testBrokenFileIsToldAndWhatWasReadIsShown(self):
        self.write_policy("<BypassDownloader>true</BypassDownloader></Other>")
        self.assert_shown((("BypassDownloader: false", "BypassDownloader: true"),), errors=BROKEN, status=1)

    def testMisplacedSettingIsTold(self):
        self.write_policy("<AllowHelpUpdatesFromAnyServer>false</AllowHelpUpdatesFromAnyServer>" * 3)
        self.assert_shown(errors=MISPLACED)

    def testFolderInTheFilesPlaceIsTold(self):
        os.makedirs(self.file)
        self.assert_shown(state=NO_FILE)
        self.assertEqual(self.policy("generate", "--overwrite", "bd=true"), (1, "", UNWRITTEN))

    def testPipeInTheFilesPlaceHoldsNothingUp(self):
        os.makedirs(os.path.dirname(self.file))
        os.mkfifo(self.file)
        self.assert_shown(state=NO_FILE)
        for arguments in (("bd=true",), ("--overwrite", "bd=true")):
            self.assertEqual(self.policy("generate", *arguments), (1, "", UNWRITTEN))

    def testFullDiskBehindTheSettingsIsAFailure(self):
        with open("/dev/full", "wb") as full:
            status, _, errors = self.policy("show", stdout=full)
        self.assertEqual(status, 1)
        self.assertIn("can't write to standard output", errors)

    def testGenerateWritesJustTheSettingsNamed(self):
        self.assert_generated("fm=TRUE", "upal=a.example;b.example,,c.example")
        content = self.read_policy()
        self.assertIn("\n<FipsMode>true</FipsMode>\n<UpdatePolicy>\n<AuthorizedServerList>\n"
                      "<ServerName>a.example</ServerName>\n<ServerName>b.example</ServerName>\n"
                      "<ServerName>c.example</ServerName></AuthorizedServerList></UpdatePolicy>\n"
                      "</TrellinkLocalPolicy>\n", content)
        version = self.run_console("--version")[1].split()[1]
        self.assertIn(' tlversion="' + version + '">\n<FipsMode>', content)
        self.assert_shown((("FipsMode: false", "FipsMode: true"),
                           ("AuthorizedServerList:", "AuthorizedServerList: a.example,b.example,c.example")))

    def testWhomThePolicyRestrictsCanReadIt(self):
        former = os.umask(0o077)
        self.addCleanup(os.umask, former)
        self.assert_generated("bd=true")
        self.assertEqual(stat.S_IMODE(os.stat(self.file).st_mode), 0o644)
        for folder in ("opt/varnel", "opt/varnel/corvane"):
            self.assertEqual(stat.S_IMODE(os.stat(self.path(folder)).st_mode), 0o755)

    def testFileThatIsThereIsKeptUnlessOverwriteIsGiven(self):
        self.write_policy("")
        former = self.read_policy()
        self.assertEqual(self.policy("generate", "bd=true"), (0, "", KEPT))
        self.assertEqual(self.read_policy(), former)
        self.assert_generated("bd=true")
        self.assertIn("<BypassDownloader>true</BypassDownloader>", self.read_policy())

    def testArgumentsThatCannotBeUsedAreToldInPlainWords(self):
        self.assert_generated("bd", "xy=true", "fm=yes", "rwl=true", "rwl=false", "sct=", errors=(
            "merocli: ignoring invalid argument bd. Arguments in the form policy_abbreviation=value expected\n"
            "merocli: ignoring undefined abbreviation xy\n"
            "merocli: yes is not an allowed value for policy FipsMode\n"
            "merocli: ignoring duplicate policy arg rwl=false. The first value will be used\n"))
        self.assertIn('">\n<RestrictWebLaunch>true</RestrictWebLaunch>\n</TrellinkLocalPolicy>', self.read_policy())

    def testControlCharactersOfArgumentsAreBlanks(self):
        self.assert_generated("a\x1b[1m=b\nc", errors="merocli: ignoring undefined abbreviation a [1m\n")

    def testOptionMayStandBehindTheSettings(self):
        self.write_policy("")
        self.assertEqual(self.policy("generate", "bd=true", "--overwrite"), (0, "", ""))
        self.assertIn("<BypassDownloader>true</BypassDownloader>", self.read_policy())

    @unittest.skipIf(os.geteuid() != 0, "only root can become another user")
    def testUserWithoutRightsIsTold(self):
        drop = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", MEROCLI]
        os.makedirs(os.path.dirname(self.file))
        os.chmod(self.folder, 0o755)
        result = self.run_console(*PRIVATE, self.path("opt"), *drop, "policy", "generate", "bd=true", program="unshare")
        self.assertEqual(result, (1, "", UNWRITTEN))
        self.assertFalse(os.path.exists(self.file))


if __name__ == "__main__":
    unittest.main()
