#include "Common/Zip/DeflateAhead.h"

#include <algorithm>
#include <new>
#include <utility>

namespace {

/// Small files on their way at once, each of which takes a descriptor for a moment.
constexpr std::size_t kMostSlots = 64;
/// Of pieces that take all the memory that one may: those that wait while each thread has one in work.
constexpr std::size_t kWaitingPieces = 2;
/// What deflate may add to a content, and more.
constexpr uint64_t kSpareBytes = 4096;

} // namespace

DeflateAhead::DeflateAhead(const NameList& paths, std::string folder, std::string spillFolder,
                           uint32_t threads, PackProgress* progress)
    : m_paths(paths), m_folder(std::move(folder)), m_spillFolder(std::move(spillFolder)),
      m_mostBytes((threads + kWaitingPieces) * SpillBuffer::kMemoryBytes), m_progress(progress),
      m_next(paths.begin()) {
    m_threads.start("createZipFile", threads, [this] { work(); });
}

DeflateAhead::~DeflateAhead() {
    {
        const LockGuard guard(m_lock);
        m_isOver = true;
    }
    m_hasRoom.tellAll();
    m_threads.join();
}

std::unique_ptr<DeflateAhead::Piece> DeflateAhead::take() {
    std::unique_ptr<Slot> slot;
    {
        const LockGuard guard(m_lock);
        while (m_slots.empty() ? !m_isOver : !m_slots.front()->isDone) {
            m_isDone.wait(m_lock);
        }
        if (m_slots.empty()) {
            return nullptr;
        }
        slot = std::move(m_slots.front());
        m_slots.pop_front();
        m_heldBytes -= slot->heldBytes;
    }
    m_hasRoom.tellAll();
    return std::move(slot->piece);
}

void DeflateAhead::drop(const SourceFile& file) {
    {
        const LockGuard guard(m_lock);
        m_partsLeft = m_file.get() == &file ? 0 : m_partsLeft;
        while (!m_slots.empty() && m_slots.front()->piece->file.get() == &file) {
            if (!m_slots.front()->isDone) {
                m_isDone.wait(m_lock);
                continue;
            }
            m_heldBytes -= m_slots.front()->heldBytes;
            m_slots.pop_front();
        }
    }
    m_hasRoom.tellAll();
}

void DeflateAhead::work() {
    PieceDeflater deflater;
    while (Slot* const slot = begin()) {
        deflate(deflater, *slot);
        finish(*slot);
    }
}

bool DeflateAhead::mayBegin() const {
    return m_slots.size() < kMostSlots &&
           (m_slots.empty() || m_heldBytes + SpillBuffer::kMemoryBytes <= m_mostBytes);
}

DeflateAhead::Slot* DeflateAhead::begin() {
    const LockGuard guard(m_lock);
    while (!m_isOver && (m_next != m_paths.end() || m_partsLeft > 0)) {
        if (!mayBegin()) {
            m_hasRoom.wait(m_lock);
            continue;
        }
        try {
            m_slots.push_back(nextSlot());
        } catch (const std::bad_alloc&) {
            m_isOver = true;
            break;
        }
        Slot* const slot = m_slots.back().get();
        m_heldBytes += slot->heldBytes;
        if (!slot->isDone) {
            return slot;
        }
        m_isDone.tellOne();
    }
    m_isDone.tellOne();
    return nullptr;
}

std::unique_ptr<DeflateAhead::Slot> DeflateAhead::nextSlot() {
    auto slot = std::make_unique<Slot>();
    slot->piece = std::make_unique<Piece>(m_spillFolder);
    if (m_partsLeft == 0) {
        m_file = std::make_shared<SourceFile>();
        m_offset = 0;
        m_partsLeft = 1;
        slot->isDone = m_file->open(m_folder + std::string(*m_next)) != 0;
        ++m_next;
        if (m_file->sizeBytes() > PieceDeflater::kLargestWhole) {
            // A part more than it has full ones: who reaches the end sees whether there is more behind it.
            m_partsLeft = m_file->sizeBytes() / PieceDeflater::kPartBytes + 1;
        }
    }
    slot->isPart = m_file->sizeBytes() > PieceDeflater::kLargestWhole;
    slot->piece->file = m_file;
    slot->offset = std::exchange(m_offset, m_offset + PieceDeflater::kPartBytes);
    slot->piece->isLast = --m_partsLeft == 0;
    slot->heldBytes = std::min<uint64_t>(m_file->sizeBytes() + kSpareBytes, SpillBuffer::kMemoryBytes);
    return slot;
}

void DeflateAhead::deflate(PieceDeflater& deflater, Slot& slot) const {
    Piece& piece = *slot.piece;
    SourceFile& file = *piece.file;
    const BlockReader read = watched(file.reader(), m_progress);
    if (slot.isPart) {
        piece.isGood = deflater.deflatePart(read, slot.offset, piece.content);
        return;
    }
    piece.isGood = deflater.deflateWhole(read, piece.content);
    piece.fault = file.faultOf(piece.content.sum.sizeBytes);
    file.close();
}

void DeflateAhead::finish(Slot& slot) {
    const LockGuard guard(m_lock);
    m_heldBytes += slot.piece->content.data.heldBytes();
    m_heldBytes -= std::exchange(slot.heldBytes, slot.piece->content.data.heldBytes());
    slot.isDone = true;
    if (m_slots.front().get() == &slot) {
        m_isDone.tellOne();
    }
    m_hasRoom.tellOne();
}

DeflatedFile::~DeflatedFile() {
    if (m_piece && !m_piece->isLast) {
        m_ahead.drop(*m_piece->file);
    }
}

int DeflatedFile::handOn(const SpillBuffer::Consumer& consumer, ContentSum& sumOut) {
    const bool isInParts = !m_piece->isLast;
    while (isGood()) {
        if (const int result = m_piece->content.data.handOn(consumer); result != 0) {
            return result;
        }
        const ContentSum& sum = m_piece->content.sum;
        sumOut.append(sum);
        if (!isInParts) {
            return 0;
        }
        if (m_piece->isLast || sum.sizeBytes < PieceDeflater::kPartBytes) {
            auto end = ZipDeflater::kEnd;
            return consumer(end);
        }
        m_piece = m_ahead.take();
    }
    return -1;
}

std::string DeflatedFile::fault(uint64_t readBytes) const {
    return m_piece->file->isOpen() ? m_piece->file->faultOf(readBytes) : m_piece->fault;
}
