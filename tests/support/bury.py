#!/usr/bin/python3
"""A tool that buries a file so deep below a folder of the job that no entry of an archive has room for its name."""

import glob
import os
import sys

os.chdir(glob.glob("/tmp/MERO_Temp_Bundle*/" + sys.argv[1])[0])
for _ in range(260):
    os.mkdir("n" * 255)
    os.chdir("n" * 255)
with open("buried.log", "w", encoding="utf-8") as file:
    file.write("too deep")
