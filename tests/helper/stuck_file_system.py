"""A file system that a program answers for, and whose program never answers."""

import os
import struct
import subprocess
import threading

# The longest question that the kernel may ask.
QUESTION_BYTES = 1024 * 1024
VERSION = (7, 31)


class StuckFileSystem:
    """Whoever asks it for something can't even be killed before it has ended."""

    def __init__(self, folder):
        self.folder = folder
        self.device = os.open("/dev/fuse", os.O_RDWR | os.O_CLOEXEC)
        options = "fd=%d,rootmode=40000,user_id=0,group_id=0,allow_other" % self.device
        subprocess.run(["mount", "-i", "-t", "fuse", "-o", options, "stuck", folder], check=True,
                       pass_fds=[self.device])
        # Set once somebody waits for an answer.
        self.asked = threading.Event()
        self._greet()
        threading.Thread(target=self._listen, daemon=True).start()

    def _greet(self):
        """The kernel doesn't ask anything else before."""
        unique = struct.unpack_from("=8xQ", os.read(self.device, QUESTION_BYTES))[0]
        content = struct.pack("=IIIIHHI40x", *VERSION, 0, 0, 0, 0, 4096)
        os.write(self.device, struct.pack("=IiQ", 16 + len(content), 0, unique) + content)

    def _listen(self):
        """Takes each question: only then does it have to be waited for."""
        try:
            while True:
                os.read(self.device, QUESTION_BYTES)
                self.asked.set()
        except OSError:
            return

    def end(self):
        """Everything that was asked fails."""
        # The first ends the questions, though the folder may be in use until those who asked have gone.
        if subprocess.run(["umount", "-f", "-i", self.folder], check=False, stderr=subprocess.DEVNULL).returncode:
            subprocess.run(["umount", "-l", "-i", self.folder], check=True)
        os.close(self.device)
