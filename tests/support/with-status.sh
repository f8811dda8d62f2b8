#!/bin/sh
# Runs a test program and says how it ended, in words and as its own exit status:
#   with-status.sh PROGRAM [ARGUMENT...]
# ctest looks past the exit status of a test that has to print something, so what it has to print ends with this line.

# A list of tests is all that a program may print when it is asked for one.
for argument in "$@"; do
    if [ "$argument" = --gtest_list_tests ]; then
        exec "$@"
    fi
done

status=0
"$@" || status=$?
printf '\ntest: ended with status %s\n' "$status"
# By the signal that ended the program, if one did: ctest names it, and takes no such end for that of a skipped test.
if [ "$status" -gt 128 ]; then
    # shellcheck disable=SC3045  # every sh that Linux systems come with knows it
    ulimit -c 0
    kill -"$((status - 128))" $$
fi
exit "$status"
