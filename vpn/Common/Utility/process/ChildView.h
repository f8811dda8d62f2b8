#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The file system as one child sees it: the folders of ChildEnvironment::hidden are empty there and can't be
/// written to, in a mount namespace of the child's own. All is made ready before the fork.
class ChildView {
public:
    /// @param instruction  the child's command line and whatever else it was told. Where it names a hidden
    /// folder, or something below it, by an absolute path, that folder stays in view.
    explicit ChildView(std::string_view instruction);

    /// Takes the view, and leaves this process in any folder that is in view. Called in the child between
    /// fork and exec, with root's rights; async-signal-safe.
    /// @return false if something can't be hidden.
    [[nodiscard]] bool take() const noexcept;

private:
    struct Cover {
        std::string folder;
        /// See keepInView; empty for none.
        std::string kept;
    };
    std::vector<Cover> m_covers;
};

/// Keeps a folder right below a hidden one in view: one that this process has made for programs to write to.
/// Any thread; replaces the folder of an earlier call. Naming it leaves the hidden one hidden.
void keepInView(std::string folder);
