#!/bin/sh
# Runs a command that sees a /tmp of its own, which goes with it:
#   with-own-tmp.sh COMMAND [ARGUMENT...]
# All jobs of one /tmp share a working folder of a fixed name; so jobs may run beside each other. For who may not mount, the
# command runs as it is, and the tests of jobs must run one at a time.
if [ "$(id -u)" -ne 0 ] || ! unshare --mount true 2>/dev/null; then
    exec "$@"
fi
# shellcheck disable=SC2016  # the inner shell's arguments
exec unshare --mount --propagation private sh -c 'mount -t tmpfs -o mode=1777 tmpfs /tmp && exec "$@"' with-own-tmp "$@"
