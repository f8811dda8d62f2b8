#pragma once

#include <string>
#include <vector>

/// The regular files below a folder.
struct FileList {
    /// A folder that could not be listed, or not to its end, or a file of which nothing is known.
    struct Gap {
        /// A folder's has a trailing "/".
        std::string path;
        /// Why, as the end of a sentence that begins with the path.
        std::string reason;
    };

    /// Depth first, in the order of the folders. A folder that could not be opened has its own path here,
    /// with a trailing "/", in place of its files.
    std::vector<std::string> paths;
    std::vector<Gap> gaps;
};

/// Lists a folder. Holds one descriptor of the tree at a time, and few of the way to it, whatever the depth
/// of the tree and the length of its paths. Links are not followed, but for the folder itself. Where the file
/// system doesn't tell the kinds of files they are asked for one by one. Ends early once a stop is requested.
/// @param recursive  with sub-folders.
[[nodiscard]] FileList listFiles(const std::string& folder, bool recursive);
