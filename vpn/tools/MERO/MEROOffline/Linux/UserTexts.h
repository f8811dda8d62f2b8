#pragma once

#include <cstddef>
#include <span>

/// Every text that the wizard shows. The English text is the key of the message catalogue as well, so a
/// changed letter loses the text's translations: what is shown goes through
/// CMEROGtkMainWindow::translateText. All of it is constant and may be read by any thread.
enum class UserText : std::size_t {
    WindowTitle,
    ButtonBack,
    ButtonNext,
    ButtonFinish,
    ButtonCancel,
    HeaderWelcome,
    HeaderBundleType,
    HeaderEncryption,
    HeaderProgress,
    HeaderResult,
    HeaderFileSelection,
    HeaderTarget,
    Intro,
    WizardPurpose,
    SelectBundleType,
    Typical,
    Custom,
    TypicalOption,
    CustomOption,
    EnableEncryption,
    MaskPassword,
    Password,
    ConfirmPassword,
    PasswordNotMatch,
    SelectFiles,
    SelectFileLocation,
    Browse,
    EnterComments,
    ProgressPatience,
    ResultSuccess,
    ResultInternalError,
    ResultWriteFailure,
    ResultUnknownError,
    TitleError,
    TitleWarning,
    CommentTooLong,
    PartialCollection,
};

/// The English text. Static, never null.
[[nodiscard]] const char* userText(UserText text);

/// The whole table: the texts above in their order, then those that no page of this wizard shows but that the
/// suite's translators keep in its catalogues.
[[nodiscard]] std::span<const char* const> allUserTexts();
