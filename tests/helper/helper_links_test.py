"""What other users plant for root to stumble over. The machine's own protection of links is not what these rely on."""

import os
import stat
import zipfile

import helper_machine
from helper_configuration import file_item, folder_item
from helper_machine import ALICE, MALLORY, ROOT_HOME, USERS, folder, give, link, read, subprocess, write
from helper_world import BUNDLE, SECRET, SECRET_FILE, SUCCESS, WRITE_FAILURE, CallerTest

OWN = "own log\n"
# A name that no file of the machine has.
NAME_IN_ETC = "/etc/mero-test-bundle.zip"


class Target(CallerTest):
    """The bundle lands only where the caller could have put it."""

    def expect_failure(self):
        self.assertEqual(self.alice.final(), WRITE_FAILURE)
        self.end_helper(self.alice)
        self.assertEqual(self.alice.finals(), [WRITE_FAILURE])
        self.assertFalse(os.path.exists(NAME_IN_ETC))
        self.expect_nothing_left()

    def testInEtcFails(self):
        self.assertIs(self.alice.start(bundle=NAME_IN_ETC), True)
        self.expect_failure()

    def testInAFolderOfAnotherUsersFails(self):
        self.assertEqual(self.collect(self.alice, bundle="/home/mallory/bundle.zip"), WRITE_FAILURE)
        self.assertEqual(os.listdir("/home/mallory"), [])

    def testThatIsALinkIsReplacedAndNotFollowed(self):
        write(ROOT_HOME + "/precious", "precious", 0o600)
        link(BUNDLE, ROOT_HOME + "/precious", ALICE)
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(read(ROOT_HOME + "/precious"), b"precious")
        status = os.lstat(BUNDLE)
        self.assertTrue(stat.S_ISREG(status.st_mode))
        self.assertEqual(status.st_uid, USERS[ALICE])

    def testWhoseFolderBecomesALinkDuringTheJobFails(self):
        folder("/home/alice/out", ALICE)
        gate = self.start_held_job(bundle="/home/alice/out/" + os.path.basename(NAME_IN_ETC))
        os.rename("/home/alice/out", "/home/alice/away")
        link("/home/alice/out", "/etc", ALICE)
        gate.open()
        self.expect_failure()

    def testThatIsAFolderIsLeftAlone(self):
        folder(BUNDLE, ALICE)
        write(BUNDLE + "/inside", "inside", 0o600, ALICE)
        self.assertEqual(self.collect(self.alice), WRITE_FAILURE)
        self.assertEqual(read(BUNDLE + "/inside"), b"inside")

    def testOfAnotherUsersInAFolderOfAllFails(self):
        write("/tmp/bundle.zip", "mallory's", 0o666, MALLORY)
        self.assertEqual(self.collect(self.alice, bundle="/tmp/bundle.zip"), WRITE_FAILURE)
        self.assertEqual(read("/tmp/bundle.zip"), b"mallory's")


class Planted(CallerTest):
    """What lies in folders that users may write to. A plain file beside it is collected, so the folder was read."""

    def collect_from(self, *items):
        self.configure(*items)
        self.assertEqual(self.collect(self.alice), SUCCESS)
        return self.names()

    def expect_no_secret(self):
        self.assertNotIn(SECRET.strip(), self.everything_in())

    def testLinkAsALogInTheHomeIsNotFollowed(self):
        write("/home/alice/logs/own.log", OWN, 0o600, ALICE)
        link("/home/alice/logs/app.log", SECRET_FILE, ALICE)
        names = self.collect_from(file_item("linked", "$HOME/logs/app.log"), file_item("own", "$HOME/logs/own.log"))
        self.assertEqual(names, ["own/own.log"])
        self.expect_no_secret()

    def testLinkAsALogByAPatternIsNotFollowed(self):
        write("/home/alice/logs/own.log", OWN, 0o600, ALICE)
        link("/home/alice/logs/app.log", SECRET_FILE, ALICE)
        self.assertEqual(self.collect_from(file_item("logs", "$HOME/logs/*.log")), ["logs/own.log"])
        self.expect_no_secret()

    def testLinkInAFolderOfTheHomeIsNotFollowed(self):
        write("/home/alice/logs/own.log", OWN, 0o600, ALICE)
        link("/home/alice/logs/app.log", SECRET_FILE, ALICE)
        link("/home/alice/logs/sub", ROOT_HOME, ALICE)
        self.assertEqual(self.collect_from(folder_item("logs", "$HOME/logs/", "*.log")), ["logs/own.log"])
        self.expect_no_secret()

    def testLinkAsAFolderOfTheHomeIsNotFollowed(self):
        write("/home/alice/own.log", OWN, 0o600, ALICE)
        link("/home/alice/logs", ROOT_HOME, ALICE)
        names = self.collect_from(file_item("linked", "$HOME/logs/secret.log"),
                                  folder_item("folder", "$HOME/logs/", "*.log"), file_item("own", "$HOME/own.log"))
        self.assertEqual(names, ["own/own.log"])
        self.expect_no_secret()

    def testLinksInFoldersOfAllAreNotFollowed(self):
        for number, place in enumerate(("/tmp", "/var/tmp", "/dev/shm")):
            with self.subTest(place=place):
                write(place + "/logs/own.log", OWN, 0o600, MALLORY)
                link(place + "/logs/app.log", SECRET_FILE, MALLORY)
                link(place + "/linked", ROOT_HOME, MALLORY)
                bundle = "/home/alice/%d.zip" % number
                self.configure(file_item("file", place + "/logs/app.log"), file_item("own", place + "/logs/own.log"),
                               folder_item("folder", place + "/logs/", "*.log"),
                               folder_item("linked", place + "/linked/", "*.log"))
                self.assertEqual(self.collect(self.alice, bundle=bundle), SUCCESS)
                self.assertEqual(self.names(bundle), ["folder/own.log", "own/own.log"])
                self.assertNotIn(SECRET.strip(), self.everything_in(bundle))

    def testHomeThatIsALinkIsNotFollowed(self):
        os.rename("/home/alice", "/home/moved")
        link("/home/alice", ROOT_HOME, ALICE)
        self.configure(file_item("linked", "$HOME/secret.log"), file_item("public", "/opt/public.log"))
        self.assertEqual(self.collect(self.alice, bundle="/home/moved/bundle.zip"), SUCCESS)
        self.assertEqual(self.names("/home/moved/bundle.zip"), ["public/public.log"])

    def testFilesOfAHomeThatIsLeftOutAreNamedAsTheirUserKnowsThem(self):
        os.rename("/home/alice", "/home/moved")
        link("/home/alice", ROOT_HOME, ALICE)
        self.configure(file_item("file", "$HOME/own.log"), folder_item("folder", "$HOME/logs/", "*.log"))
        self.assertEqual(self.collect(self.alice, bundle="/home/moved/bundle.zip"), SUCCESS)
        with zipfile.ZipFile("/home/moved/bundle.zip") as archive:
            summary = archive.read("summary.txt").decode()
        self.assertNotIn("merohelper", summary)
        rows = [line.split() for line in summary.partition("Files Omitted from Bundle:")[2].splitlines()]
        self.assertIn("file /home/alice/own.log The item file No file found on endpoint".split(), rows)
        self.assertIn("folder N/A The item folder /home/alice/logs/".split(), rows)

    def testMountsBelowTheHomeAreNotSeen(self):
        write("/home/alice/own.log", OWN, 0o600, ALICE)
        mounted = folder("/home/alice/mounted", ALICE)
        subprocess.run(["mount", "-t", "tmpfs", "mero-test", mounted], check=True)
        write(mounted + "/elsewhere.log", OWN)
        names = self.collect_from(file_item("elsewhere", "$HOME/mounted/elsewhere.log"),
                                  file_item("own", "$HOME/own.log"))
        self.assertEqual(names, ["own/own.log"])

    def testFifoAndDeviceInTheHomeAreNotRead(self):
        write("/home/alice/logs/own.log", OWN, 0o600, ALICE)
        os.mkfifo("/home/alice/logs/fifo.log")
        os.mknod("/home/alice/logs/device.log", 0o20666, os.makedev(1, 5))
        for name in ("fifo", "device"):
            give("/home/alice/logs/%s.log" % name, ALICE)
        names = self.collect_from(file_item("fifo", "$HOME/logs/fifo.log"),
                                  file_item("device", "$HOME/logs/device.log"),
                                  folder_item("logs", "$HOME/logs/", "*.log"))
        self.assertEqual(names, ["logs/own.log"])


class WorkingFolder(CallerTest):
    """The engine's working folder has a name that everybody knows."""

    place = "/tmp/MERO_Temp_Bundle"

    def expect_good_bundle(self):
        self.assertEqual(self.collect(self.alice), SUCCESS)
        self.assertEqual(self.names(), ["public/public.log", "secret/secret.log"])
        self.end_helper(self.alice)

    def testThatAnotherUserHasMadeIsNotUsed(self):
        folder(self.place, MALLORY, 0o777)
        write(self.place + "/planted.txt", "planted", 0o666, MALLORY)
        self.expect_good_bundle()
        self.assertNotIn("planted", self.everything_in())
        with zipfile.ZipFile(BUNDLE) as archive:
            self.assertNotIn("planted.txt", archive.namelist())
        self.assertEqual(self.leavings(), [self.place])
        self.assertEqual(read(self.place + "/planted.txt"), b"planted")
        self.assertEqual(os.listdir(self.place), ["planted.txt"])

    def testThatIsALinkIsNotFollowed(self):
        folder(ROOT_HOME + "/precious", mode=0o700)
        write(ROOT_HOME + "/precious/file", "precious", 0o600)
        link(self.place, ROOT_HOME + "/precious", MALLORY)
        self.expect_good_bundle()
        self.assertEqual(os.listdir(ROOT_HOME + "/precious"), ["file"])
        self.assertEqual(os.readlink(self.place), ROOT_HOME + "/precious")

    def testIsSeenByNobodyElseDuringTheJob(self):
        gate = self.start_held_job()
        left = self.leavings()
        self.assertEqual(len(left), 2, left)
        for path in left:
            status = os.lstat(path)
            self.assertEqual((status.st_uid, stat.S_IMODE(status.st_mode)), (0, 0o700), path)
        gate.open()
        self.assertEqual(self.alice.final(), SUCCESS)

    def testOfAnOlderRunIsRemoved(self):
        write(self.place + "__1114_1753_48213/collected/old.log", "old", 0o600)
        os.chmod(self.place + "__1114_1753_48213", 0o700)
        link(self.place + "__1114_1753_48213/outside", ROOT_HOME, "root")
        self.expect_good_bundle()
        self.expect_nothing_left()
        self.assertEqual(read(SECRET_FILE).decode(), SECRET)


if __name__ == "__main__":
    helper_machine.main()
