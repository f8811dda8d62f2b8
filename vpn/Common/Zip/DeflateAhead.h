#pragma once

#include "Common/Utility/threads/Condition.h"
#include "Common/Utility/threads/Mutex.h"
#include "Common/Utility/threads/ThreadGroup.h"
#include "Common/Zip/DeflatedPiece.h"
#include "Common/Zip/NameList.h"
#include "Common/Zip/PackProgress.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

/// Deflates files on threads of its own, some way ahead of who puts them into an archive one after the other.
/// What waits takes a bounded part of memory. A file of which anything is out of the ordinary comes without
/// its content, for the caller to pack it by itself. One thread makes it, takes and destroys it.
class DeflateAhead {
public:
    /// A file, or a part of a large one.
    struct Piece {
        explicit Piece(std::string spillFolder) : content(std::move(spillFolder)) {}

        /// Shared by the parts of a file. Open only where there are several.
        std::shared_ptr<SourceFile> file;
        DeflatedPiece content;
        /// Content is there; otherwise this is nothing but a file's place.
        bool isGood = false;
        /// The file has no further piece.
        bool isLast = true;
        /// What faultOf said of a file that is one piece.
        std::string fault;
    };

    /// Starts as many threads as the system has up to the number.
    /// @param paths        the files in their order; must outlive this object, unchanged.
    /// @param folder       what stands before each path, with a "/" at its end, or nothing.
    /// @param spillFolder  where what is too much for memory is kept; empty for nowhere.
    /// @param progress     gets what was read; may be null, else must outlive this object.
    DeflateAhead(const NameList& paths, std::string folder, std::string spillFolder, uint32_t threads,
                 PackProgress* progress = nullptr);
    /// Waits until what is under way has ended.
    ~DeflateAhead();
    DeflateAhead(const DeflateAhead&) = delete;
    DeflateAhead& operator=(const DeflateAhead&) = delete;

    /// False where the system has no thread; nothing can be taken then.
    [[nodiscard]] bool isWorking() const { return m_threads.size() > 0; }
    /// Waits for the next piece. As often as the files have pieces.
    /// @return null, then and from then on, where memory did not suffice to go on.
    [[nodiscard]] std::unique_ptr<Piece> take();
    /// Passes over what was not taken of a file, without working on it any further.
    void drop(const SourceFile& file);

private:
    /// A piece on its way.
    struct Slot {
        std::unique_ptr<Piece> piece;
        uint64_t offset = 0;
        /// What it may come to take of memory, and what it takes once it is done.
        std::size_t heldBytes = 0;
        bool isPart = false;
        bool isDone = false;
    };

    void work();
    /// @return null once there is nothing more to do.
    [[nodiscard]] Slot* begin();
    [[nodiscard]] bool mayBegin() const ZRN_REQUIRES(m_lock);
    [[nodiscard]] std::unique_ptr<Slot> nextSlot() ZRN_REQUIRES(m_lock);
    void deflate(PieceDeflater& deflater, Slot& slot) const;
    void finish(Slot& slot);

    const NameList& m_paths;
    const std::string m_folder;
    const std::string m_spillFolder;
    const std::size_t m_mostBytes;
    PackProgress* const m_progress;

    Mutex m_lock;
    Condition m_isDone;
    Condition m_hasRoom;
    std::deque<std::unique_ptr<Slot>> m_slots ZRN_GUARDED_BY(m_lock);
    std::size_t m_heldBytes ZRN_GUARDED_BY(m_lock) = 0;
    /// The file whose parts are given out.
    std::shared_ptr<SourceFile> m_file ZRN_GUARDED_BY(m_lock);
    uint64_t m_partsLeft ZRN_GUARDED_BY(m_lock) = 0;
    uint64_t m_offset ZRN_GUARDED_BY(m_lock) = 0;
    NameList::Iterator m_next ZRN_GUARDED_BY(m_lock);
    /// Nothing more is begun.
    bool m_isOver ZRN_GUARDED_BY(m_lock) = false;

    ThreadGroup m_threads;
};

/// The pieces of the next file of a DeflateAhead. What was not taken of them is passed over in the end.
class DeflatedFile {
public:
    explicit DeflatedFile(DeflateAhead& ahead) : m_ahead(ahead), m_piece(ahead.take()) {}
    ~DeflatedFile();
    DeflatedFile(const DeflatedFile&) = delete;
    DeflatedFile& operator=(const DeflatedFile&) = delete;

    /// Whether it comes with its content.
    [[nodiscard]] bool isGood() const { return m_piece && m_piece->isGood; }
    /// Its first piece, which is all of it where that is its last; only of a good one, before handOn.
    [[nodiscard]] DeflateAhead::Piece& first() { return *m_piece; }
    /// Hands on all of its deflated bytes, as one stream, up to where its content ended when it was read.
    /// Once, of a good one.
    /// @param sumOut  of that content.
    /// @return 0, the consumer's number, or -1 for a piece that is not there for lack of memory or can't be
    /// read back.
    [[nodiscard]] int handOn(const SpillBuffer::Consumer& consumer, ContentSum& sumOut);
    /// Why its content is not the file as it was opened, as the end of a sentence; empty if it is. After
    /// handOn.
    /// @param readBytes  what handOn has told of its size.
    [[nodiscard]] std::string fault(uint64_t readBytes) const;

private:
    DeflateAhead& m_ahead;
    std::unique_ptr<DeflateAhead::Piece> m_piece;
};
