#pragma once

#include <functional>
#include <string>
#include <vector>

/// A folder that could not be listed, or not to its end, or a file of which nothing is known.
struct ListingGap {
    /// A folder's has a trailing "/".
    std::string path;
    /// Why, as the end of a sentence that begins with the path.
    std::string reason;
};

/// Lists a folder. Holds one descriptor of the tree at a time, and few of the way to it, whatever the depth
/// of the tree and the length of its paths. Links are not followed, but for the folder itself. Where the file
/// system doesn't tell the kinds of files they are asked for one by one. Ends early once a stop is requested.
/// @param recursive  with sub-folders.
/// @param found      gets the paths of the regular files, depth first, in the order of the folders. A folder
/// that could not be opened has its own path there, with a trailing "/", in place of its files.
[[nodiscard]] std::vector<ListingGap> listFiles(const std::string& folder, bool recursive,
                                                const std::function<void(const std::string& path)>& found);
