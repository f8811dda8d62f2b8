#include "Common/Utility/process/JobProcess.h"

#include "Common/Utility/sysutils.h"

#include <csignal>
#include <sys/stat.h>

void prepareJobProcess() {
    static_cast<void>(::umask(S_IRWXG | S_IRWXO));
    for (const int number : {SIGPIPE, SIGXFSZ}) {
        static_cast<void>(install_sighdlr(number, SIG_IGN, nullptr)); // logs its failure
    }
}
