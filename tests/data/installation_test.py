"""What is installed around the helper stands where it is looked for, and its paths agree with each other."""

import os
import stat
import unittest

import generated_files as files


def folder(kind):
    return os.environ["MERO_" + kind]


class HelperInstallation(files.FolderTest):
    def testEachFileIsWhereItIsLookedFor(self):
        self.install()
        for place, name in (
                (files.PREFIX, "merohelper"),
                (folder("BUSPOLICYDIR"), "com.varnel.corvane.mero.helper.conf"),
                (folder("BUSSERVICEDIR"), "com.varnel.corvane.mero.helper.service"),
                (folder("POLKITDIR"), "com.varnel.corvane.mero.policy"),
                (folder("UNITDIR"), "merohelper.service"),
                (folder("DATADIR") + "/man/man8", "merohelper.8")):
            self.assertTrue(os.path.isfile(self.installed(os.path.join(place, name))), os.path.join(place, name))

    def testUnitAndBusStartTheInstalledProgram(self):
        self.install()
        unit = files.directives(self.installed(folder("UNITDIR") + "/merohelper.service"))
        activation = files.directives(self.installed(folder("BUSSERVICEDIR") + "/" + files.NAME + ".service"))
        self.assertEqual(unit["ExecStart"], activation["Exec"])
        program = activation["Exec"][0]
        self.assertTrue(os.path.isabs(program), program)
        self.assertTrue(os.access(self.installed(program), os.X_OK), program)

    def testTheConfigurationStandsBesideTheProgram(self):
        self.install()
        program = files.directives(self.installed(folder("UNITDIR") + "/merohelper.service"))["ExecStart"][0]
        for name in ("xml/config/system.xml", "plugin/tool-output"):
            self.assertTrue(os.path.isfile(os.path.join(os.path.dirname(self.installed(program)), name)), name)

    def testOnlyTheOwnerMayWriteToWhatIsInstalledWhateverTheUmask(self):
        self.install(umask=0o002)
        for place, folders, names in os.walk(self.folder):
            for name in folders + names:
                path = os.path.join(place, name)
                self.assertIn(stat.S_IMODE(os.lstat(path).st_mode), (0o644, 0o755), path)


class HelperActivation(unittest.TestCase):
    def testTheBusStartsItAsRootThroughTheUnit(self):
        activation = files.directives(files.ACTIVATION)
        self.assertEqual(activation["Name"], [files.NAME])
        self.assertEqual(activation["User"], ["root"])
        self.assertEqual(activation["SystemdService"], [os.path.basename(files.UNIT)])

    def testTheUnitOwnsTheNameThatTheBusWaitsFor(self):
        unit = files.directives(files.UNIT)
        self.assertEqual(unit["Type"], ["dbus"])
        self.assertEqual(unit["BusName"], files.directives(files.ACTIVATION)["Name"])


if __name__ == "__main__":
    unittest.main()
