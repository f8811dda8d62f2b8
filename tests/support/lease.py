"""A lease on a file that is never given up: who opens the file waits for as long as the kernel allows."""

import fcntl
import os
import signal
import unittest


def hold_lease(test, path):
    """Holds it until the test has ended. The kernel takes 45 seconds unless it was told otherwise.
    @return what tells whether somebody waits for the file."""
    wanted = []
    file = os.open(path, os.O_RDWR | os.O_CLOEXEC)
    test.addCleanup(os.close, file)
    # By this signal the kernel asks for the lease.
    test.addCleanup(signal.signal, signal.SIGIO, signal.signal(signal.SIGIO, lambda *_: wanted.append(True)))
    try:
        fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_WRLCK)
    except OSError as error:
        raise unittest.SkipTest("this file system knows no leases") from error
    return lambda: bool(wanted)
