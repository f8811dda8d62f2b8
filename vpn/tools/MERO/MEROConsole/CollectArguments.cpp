#include "tools/MERO/MEROConsole/CollectArguments.h"

#include "Common/Utility/files/ReplacementFile.h"
#include "Common/Utility/sysutils.h"
#include "Common/Utility/text/StringUtils.h"
#include "tools/MERO/MEROConsole/CommentCheck.h"
#include "tools/MERO/MEROConsole/PathArguments.h"
#include "tools/MERO/MEROConsole/UsageError.h"
#include "tools/MERO/MEROEngine/implementations/helperUtil/Names.h"

#include <cerrno>
#include <CLI/CLI.hpp>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace {

/// Refuses, before anything is collected, a target that can't be written in the end.
void checkTarget(const std::string& bundlePath) {
    switch (refusalOfTarget(AT_FDCWD, bundlePath.c_str())) {
    case 0:
        break;
    case EISDIR:
        throw UsageError{"--target: '" + bundlePath + "' is a folder; name a file in it"};
    default:
        throw UsageError{"--target: '" + bundlePath +
                         "' is a pipe, a device or a socket; name a file that can be replaced"};
    }
    const std::string folder = std::filesystem::path(bundlePath).parent_path().string();
    if (!directoryExists(folder.c_str())) {
        throw UsageError{"--target: there is no folder '" + folder + "'; make it or name another one"};
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        const int error = errno;
        throw UsageError{"--target: can't write to the folder '" + folder + "' (" + std::strerror(error) +
                         "); name another one"};
    }
}

/// "-" means standard output to many programs, and "dir/" and "." name folders, whatever is appended to them.
void checkTargetName(const std::string& target) {
    if (target == "-") {
        throw UsageError{"--target: a bundle can't be written to standard output; name a file, which may be "
                         "'./-'"};
    }
    const std::string name = std::filesystem::path(target).filename().string();
    if (name.empty() || name == "." || name == "..") {
        throw UsageError{"--target: '" + target + "' names a folder; name a file in it"};
    }
}

/// Cuts one value of --only at its commas.
void appendIds(const std::string& value, std::vector<std::string>& ids) {
    // A text without a piece is refused like an empty piece.
    for (std::string id : CStringUtils::tokenize(value.empty() ? "," : value, ',')) {
        CStringUtils::trim(id); // as the ids of the configuration are
        if (id.empty()) {
            throw UsageError{"--only: '" + value +
                             "' holds an empty id; name items as 'merocli list' shows them, with one "
                             "comma between two"};
        }
        ids.push_back(std::move(id));
    }
}

} // namespace

CollectArguments::CollectArguments(CLI::App& program)
    : m_command(program.add_subcommand("collect", "Collect a bundle and write it to a zip file")),
      m_installDirectory(addInstallFolder(*m_command, m_options.installDirectory)),
      m_only(m_command
                 ->add_option("--only",
                              "Collect only these items, as 'merocli list' shows them; may be repeated")
                 ->type_name("ID[,ID...]")
                 ->take_all()),
      m_comment(m_command
                    ->add_option("--comment", m_options.comment,
                                 "Comment for the bundle, with --only; at most " +
                                     std::to_string(kMaximumCommentBytes) + " bytes")
                    ->type_name("TEXT")),
      m_request(m_command
                    ->add_option("--request", m_options.requestPath,
                                 "Request file that lists what to collect (default: the usual items)")
                    ->type_name("FILE")),
      m_target(m_command
                   ->add_option("--target", m_options.targetPath,
                                "Zip file to write (default: MEROBundle_MMDD_HHMM.zip here)")
                   ->type_name("FILE")),
      m_password(m_command
                     ->add_option("--password-file", m_options.passwordFile,
                                  "File whose first line is the bundle's password; - reads standard input")
                     ->type_name("FILE")) {
    m_command->add_flag("--keep-working-folder", m_options.keepWorkingFolder,
                        "Leave the folder in /tmp in which the bundle was built, and tell where it is");
    m_command->add_flag("--no-progress", m_noProgress,
                        "Show no line on the terminal that tells how far the job is");
    m_command->add_flag("--quiet", m_options.isQuiet, "Print nothing but what went wrong");
    m_command->add_flag("--no-system-logs", m_noSystemLogs,
                        "Leave the logs of the system out of the usual items");
    m_command->add_flag("--include-legacy", m_options.includeLegacyTree,
                        "Add the items of the former suite to the usual ones");
    m_command->footer("The last two options have no effect on items that --only or --request names.\n"
                      "Exit status: 0 the bundle was written, 1 the job failed, 2 the command line is wrong, "
                      "3 the bundle was\n"
                      "written but lacks files.");
}

bool CollectArguments::given() const {
    return m_command->parsed();
}

std::vector<std::string> CollectArguments::requestedIds() const {
    std::vector<std::string> ids;
    for (const std::string& value : m_only->results()) {
        appendIds(value, ids);
    }
    return ids;
}

std::string CollectArguments::targetPath() const {
    refuseEmptyPath(*m_target, m_options.targetPath);
    std::string target =
        m_target->count() > 0 ? m_options.targetPath : "MEROBundle" + getTimeString(1) + ".zip";
    checkTargetName(target);
    target = absolutePath(m_target->get_name(), target);
    checkTarget(helperUtil::withZipExtension(target));
    return target;
}

CollectOptions CollectArguments::finish() const {
    CollectOptions options = m_options;
    refuseEmptyPath(*m_request, options.requestPath);
    refuseEmptyPath(*m_password, options.passwordFile.value_or(std::string()));
    if (m_only->count() > 0 && m_request->count() > 0) {
        throw UsageError{"--only: the items come from --request already; leave one of the two out"};
    }
    if (m_comment->count() > 0 && m_only->count() == 0) {
        throw UsageError{"--comment: goes only with --only; name the items to collect, or leave it out"};
    }
    if (const std::string fault = faultOfComment(options.comment); !fault.empty()) {
        throw UsageError{"--comment: " + fault};
    }
    options.onlyIds = requestedIds();
    options.collectSystemLogs = !m_noSystemLogs;
    options.showProgress = !m_noProgress && !options.isQuiet;
    options.installDirectory = installFolder(*m_installDirectory, options.installDirectory);
    if (m_request->count() > 0) {
        options.requestPath = absolutePath(m_request->get_name(), options.requestPath);
    }
    options.targetPath = targetPath();
    return options;
}
