#pragma once

#include <cstddef>
#include <span>

/// Every text that the wizard shows. The English text is the key of the message catalogue as well, so a
/// changed letter loses the text's translations: what is shown goes through translateText. All of it is
/// constant and may be read by any thread.
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
    /// How many there are; no text itself.
    Count,
};

/// The English text. Static, never null.
[[nodiscard]] const char* userText(UserText text);

/// The text of a button or of an option once more, with a "_" in front of the letter that presses it together
/// with Alt: a key of the catalogue of its own, by which each language chooses its letter. Those of one page
/// differ. Static, never null; empty for a text without such a letter.
[[nodiscard]] const char* mnemonicText(UserText text);

/// The whole table: the texts above in their order, then those that no page of this wizard shows but that the
/// suite's translators keep in its catalogues.
[[nodiscard]] std::span<const char* const> allUserTexts();
