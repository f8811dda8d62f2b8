#include "tools/MERO/MEROOffline/Linux/UserTexts.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

using enum UserText;

// Two blanks between sentences, and the blank at the end of a caption, belong to the catalogue keys.
constexpr auto kShown = std::to_array<std::pair<UserText, const char*>>({
    {WindowTitle, "Varnel Corvane - MERO"},
    {ButtonBack, "Back"},
    {ButtonNext, "Next"},
    {ButtonFinish, "Finish"},
    {ButtonCancel, "Cancel"},
    {HeaderWelcome, "Meroscope (MERO)"},
    {HeaderBundleType, "Bundle Creation Option"},
    {HeaderEncryption, "Bundle Encryption Option"},
    {HeaderProgress, "Bundle Creation Progress"},
    {HeaderResult, "Bundle Creation Result"},
    {HeaderFileSelection, "File Selection"},
    {HeaderTarget, "Target Bundle Location and Comments"},
    {Intro,
     "MERO is a tool that helps to bundle the appropriate log files and diagnostic information that can be "
     "used for analyzing and debugging the Varnel Corvane."},
    {WizardPurpose,
     "This wizard will guide you through the steps required to create the diagnostic bundle.  To continue, "
     "click Next."},
    {SelectBundleType, "Select a bundle option."},
    {Typical, "Typical"},
    {Custom, "Custom"},
    {TypicalOption,
     "Typical log files and diagnostic information will be included in the bundle. (Bundle will be saved to "
     "Desktop)"},
    {CustomOption, "Choose which log files and diagnostic information to be included in the bundle."},
    {EnableEncryption, "Enable Bundle Encryption"},
    {MaskPassword, "Mask Password"},
    {Password, "Encryption Password"},
    {ConfirmPassword, "Confirm Password"},
    {PasswordNotMatch, "Passwords entered do not match"},
    {SelectFiles, "Select the files to be collected."},
    {SelectFileLocation, "Select target bundle location."},
    {Browse, "Browse..."},
    {EnterComments, "Enter any comments for the bundle."},
    {ProgressPatience,
     "Please be patient while MERO is creating the bundle.  This may take several minutes..."},
    {ResultSuccess, "The bundle was created successfully in %s."},
    {ResultInternalError,
     "An internal error occurred while creating the MERO bundle.  Please try again later."},
    {ResultWriteFailure,
     "The bundle cannot be saved in the location \"%s\".  Please specify another location and try again."},
    {ResultUnknownError, "An unknown error occurred while creating the MERO bundle, possibly due to "
                         "restricted file permissions.  "
                         "Please try again later."},
    {TitleError, "Error"},
    {TitleWarning, "Warning"},
    {CommentTooLong,
     "Your comments is %d characters long, which exceeds the maximum limit of %d characters.  Please enter "
     "comments within the maximum limit."},
    {PartialCollection,
     "MERO will only collect partial diagnostic information. For a complete log collection, authenticate as "
     "an administrator."},
});

constexpr auto kUnused = std::to_array<const char*>({
    "Run",
    "Welcome to the Meroscope (MERO).",
    "Bundle Options:",
    "Additional Log Options:",
    "Include System Logs",
    "Include Legacy - Varnel Trellink Nolvane Logs",
    "Select \"Default\" to include the typical log files and diagnostic information in the bundle.  Select "
    "\"Custom\" to choose the list of log files and diagnostic information to be included in the bundle.",
    "Default - Bundle will be saved to Desktop",
    "MERO requires administrative privileges to clear Varnel Corvane logs.",
    "Clear All Logs",
    "Please enter a password for the bundle or unselect the \"Enable Bundle Encryption\" option",
    "Password field is required",
    "Log File Selection",
    "Please be patient while the wizard is populating the list of log files available for selection...",
    "Check the log files that you want to be included in the bundle and uncheck the files that you don't "
    "want to be included.",
    "Restore Default",
    "Please be patient while MERO is clearing Varnel Corvane logs...",
    "Your default email client is not configured properly to use this feature. Please contact your system "
    "administrator to reconfigure.",
    "Email Your Bundle",
    "Email Bundle",
    "Send",
    "Exit",
    "Email Address(es): ",
    "Include Message In Email (optional):",
    "Customer Case # (optional):",
    "The email feature is loading . . . Please wait",
    "Please enter a valid email address to email your MERO!",
    "Please wait while your email is sent . . .",
    "Your email was successfully sent.",
    "There was an error sending your email.  Please send manually.",
    "(Semicolon-separated list)",
    "WARNING: A MERO bundle contains confidential system information, the user accepts all responsibility "
    "for emailing this information.",
    "Upload to QRT",
    "This form will allow you to submit a bundle to QRT using the SR number and Token provided by your "
    "admin.",
    "There was an error uploading your bundle. Please send it manually.",
    "Please wait while the bundle is uploading...",
    "The bundle was successfully uploaded.",
    "SR",
    "Token",
    "The bundle was created successfully on your Desktop.",
    "The bundle cannot be saved on your Desktop.  Please try again later.",
    "MERO Wizard has encountered a problem and needs to close.",
    "Please specify a target bundle location.",
    "Please specify a correct location path.",
    "MERO requires administrative privileges to clear Varnel Corvane logs. Please relaunch MERO with "
    "administrative privileges and try again.",
    "No files are currently selected.  Are you sure you want to continue?",
    "Existing bundle file will be overwritten.",
    "Please select at least one log module.",
    "Are you sure you want to permanently delete Varnel Corvane logs?",
    "Varnel Corvane MERO requires administrative access to collect complete diagnostic information.",
    "Varnel Corvane logs have been cleared. Please reproduce your issue before continuing with log "
    "collection.",
});

constexpr auto kTexts = [] {
    std::array<const char*, kShown.size() + kUnused.size()> texts{};
    for (const auto& [name, text] : kShown) {
        texts.at(static_cast<std::size_t>(name)) = text;
    }
    std::ranges::copy(kUnused, texts.begin() + kShown.size());
    return texts;
}();
// Each text has one row.
static_assert(kShown.size() == static_cast<std::size_t>(Count) &&
              std::ranges::find(kTexts, nullptr) == kTexts.end());

constexpr auto kMnemonics = std::to_array<std::pair<UserText, const char*>>({
    {ButtonBack, "_Back"},
    {ButtonNext, "_Next"},
    {ButtonFinish, "_Finish"},
    {ButtonCancel, "_Cancel"},
    {Typical, "_Typical"},
    {Custom, "C_ustom"},
    {EnableEncryption, "_Enable Bundle Encryption"},
    {MaskPassword, "_Mask Password"},
    {Browse, "B_rowse..."},
});

} // namespace

const char* userText(UserText text) {
    return kTexts.at(static_cast<std::size_t>(text));
}

const char* mnemonicText(UserText text) {
    const auto* const found = std::find_if(kMnemonics.begin(), kMnemonics.end(),
                                           [text](const auto& entry) { return entry.first == text; });
    return found == kMnemonics.end() ? "" : found->second;
}

std::span<const char* const> allUserTexts() {
    return kTexts;
}
