#pragma once

/// What the engine reports. The English text is the key of the message catalogue as well, so a changed letter
/// loses the text's translations.

// Steps.
inline constexpr const char* kStarting = "Starting up MERO Engine...";
inline constexpr const char* kParsing = "Parsing request and configuration XMLs...";
inline constexpr const char* kReading = "Reading instructions ...";
inline constexpr const char* kZipping = "Zipping the bundle, please wait...";
inline constexpr const char* kFinished = "MERO has finished... ";
/// Steps of one item, with its description between the two parts of the text, as the configuration has it.
inline constexpr const char* kProcessing = "Processing %s...";
inline constexpr const char* kClearing = "Clearing %s...";
/// A tool that runs for more than a second, with its name in the text.
inline constexpr const char* kStillRunning =
    "Still running %s, please be patient as this may take a few minutes...";

// The end of a run whose bundle lacks files: how many, and the file of the bundle that names them.
inline constexpr const char* kIncomplete = "%s files could not be packed, see %s";

// Failures.
inline constexpr const char* kInvalidRequest = "Internal Error: invalid request XML, please contact your "
                                               "administrator, or run in default mode";
inline constexpr const char* kEncounteredError = "Internal Error: MERO has encountered an error...";
inline constexpr const char* kNoConfiguration = "Internal Error: no valid configuration XML found...";
inline constexpr const char* kNoWorkingFolder =
    "Internal Error: failed to create temporary working folder...";
inline constexpr const char* kAllFailed = "Internal Error: all configs failed...";
inline constexpr const char* kNotZipped = "Internal Error: failed to zip the bundle...";
inline constexpr const char* kStopped = "MERO was stopped before the bundle was complete...";
/// Of a run that is ended for its bounds, by whoever watches over them.
inline constexpr const char* kTooLittleSpace =
    "There is not enough free disk space to create the bundle. Free some space and try again.";
inline constexpr const char* kTooMuchCollected =
    "The files to collect are too large for one bundle. Choose fewer of them and try again.";
