#include "tools/MERO/MEROOffline/Linux/MEROHelper/Job/ProgressRecord.h"

#include "tests/support/CapturedLog.h"
#include "tests/support/Pipe.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kHeadBytes = 16;
constexpr std::size_t kLengthAt = 12;

std::string bytesOf(const ProgressRecord& record) {
    Pipe pipe;
    EXPECT_TRUE(writeProgress(pipe.writer.get(), record));
    return pipe.drain();
}

void expectRecord(ProgressReader& reader, const ProgressRecord& expected) {
    const std::optional<ProgressRecord> record = reader.next();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->status, expected.status);
    EXPECT_EQ(record->progress, expected.progress);
    EXPECT_EQ(record->message, expected.message);
}

/// The text of a record that was written with this one.
std::string passedText(const std::string& text) {
    ProgressReader reader;
    reader.append(bytesOf({.status = 1, .progress = 2, .message = text}));
    const std::optional<ProgressRecord> record = reader.next();
    EXPECT_FALSE(reader.isBroken());
    return record ? record->message : "no record";
}

std::string withLength(std::string bytes, uint32_t length) {
    std::memcpy(bytes.data() + kLengthAt, &length, sizeof length);
    return bytes;
}

const ProgressRecord kStep{.status = 0xFE360001, .progress = 42, .message = "Collecting\n\xC3\xBC"};
const ProgressRecord kOutcome{.status = 0, .progress = 0xFFFFFFFF, .message = ""};

TEST(ProgressRecord, PassesEveryPart) {
    ProgressReader reader;
    reader.append(bytesOf(kStep) + bytesOf(kOutcome));
    expectRecord(reader, kStep);
    expectRecord(reader, kOutcome);
    EXPECT_FALSE(reader.next());
    EXPECT_FALSE(reader.isBroken());
}

TEST(ProgressRecord, PassesAnyBytes) {
    std::string text;
    for (int byte = 0; byte < 256; ++byte) {
        text.push_back(static_cast<char>(byte));
    }
    EXPECT_EQ(passedText(text), text);
}

TEST(ProgressRecord, ComesInAnyPortions) {
    const std::string bytes = bytesOf(kStep) + bytesOf(kOutcome) + bytesOf(kStep);
    for (std::size_t portion = 1; portion <= bytes.size(); ++portion) {
        ProgressReader reader;
        std::vector<ProgressRecord> records;
        for (std::size_t at = 0; at < bytes.size(); at += portion) {
            reader.append(std::string_view(bytes).substr(at, portion));
            while (std::optional<ProgressRecord> record = reader.next()) {
                records.push_back(*record);
            }
        }
        ASSERT_EQ(records.size(), 3U) << portion;
        EXPECT_EQ(records[0].message, kStep.message);
        EXPECT_EQ(records[1].progress, kOutcome.progress);
        EXPECT_EQ(records[2].status, kStep.status);
        EXPECT_FALSE(reader.isBroken());
    }
}

TEST(ProgressRecord, WaitsForTheWholeRecord) {
    const std::string bytes = bytesOf(kStep);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        ProgressReader reader;
        reader.append(std::string_view(bytes).substr(0, size));
        EXPECT_FALSE(reader.next()) << size;
        EXPECT_FALSE(reader.isBroken()) << size;
    }
}

TEST(ProgressRecord, CutsALongText) {
    EXPECT_EQ(passedText(std::string(kLongestProgressText, 'x')), std::string(kLongestProgressText, 'x'));
    EXPECT_EQ(passedText(std::string(kLongestProgressText + 1, 'x')), std::string(kLongestProgressText, 'x'));
    EXPECT_EQ(passedText(std::string(100'000, 'x')), std::string(kLongestProgressText, 'x'));
}

TEST(ProgressRecord, CutsNoCharacterInTwo) {
    for (const std::string character : {"\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x99\x82"}) {
        for (std::size_t fitting = 0; fitting < character.size(); ++fitting) {
            const std::string start(kLongestProgressText - fitting, 'x');
            EXPECT_EQ(passedText(start + character), start) << fitting;
        }
        const std::string start(kLongestProgressText - character.size(), 'x');
        const std::string fitting = start + character;
        EXPECT_EQ(passedText(fitting + character), fitting);
    }
}

TEST(ProgressRecord, CutsBytesThatAreNoTextAllTheSame) {
    EXPECT_EQ(passedText(std::string(3000, '\x80')), std::string(kLongestProgressText - 3, '\x80'));
}

TEST(ProgressRecord, GoesIntoThePipeAsOnePiece) {
    EXPECT_LE(bytesOf({.message = std::string(100'000, 'x')}).size(), std::size_t{PIPE_BUF});
    // A pipe that keeps each write apart shows that there is one only.
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_DIRECT), 0);
    const FileDescriptor readingEnd(ends[0]);
    const FileDescriptor writingEnd(ends[1]);
    ASSERT_TRUE(writeProgress(writingEnd.get(), kStep));
    std::array<char, PIPE_BUF> bytes{};
    EXPECT_EQ(::read(readingEnd.get(), bytes.data(), bytes.size()),
              static_cast<ssize_t>(kHeadBytes + kStep.message.size()));
}

TEST(ProgressRecord, SeveralThreadsShareAPipe) {
    constexpr int kRounds = 500;
    Pipe pipe;
    std::vector<std::thread> writers;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        writers.emplace_back([&pipe, letter] {
            for (int round = 0; round < kRounds; ++round) {
                EXPECT_TRUE(writeProgress(
                    pipe.writer.get(), {.status = 1, .progress = 2, .message = std::string(1500, letter)}));
            }
        });
    }
    std::map<std::string, int> counts;
    std::thread taker([&pipe, &counts] {
        ProgressReader reader;
        std::array<char, 777> part{};
        ssize_t length = 0;
        while ((length = ::read(pipe.reader.get(), part.data(), part.size())) > 0) {
            reader.append({part.data(), static_cast<std::size_t>(length)});
            while (const std::optional<ProgressRecord> record = reader.next()) {
                ++counts[record->message];
            }
        }
        EXPECT_FALSE(reader.isBroken());
    });
    for (std::thread& writer : writers) {
        writer.join();
    }
    pipe.writer.reset();
    taker.join();
    EXPECT_EQ(counts.size(), 4U);
    for (const auto& [text, count] : counts) {
        EXPECT_EQ(count, kRounds) << text.front();
    }
}

TEST(ProgressRecord, FailsWhenNobodyReads) {
    ASSERT_NE(std::signal(SIGPIPE, SIG_IGN), SIG_ERR);
    const CapturedLog log;
    Pipe pipe;
    pipe.reader.reset();
    EXPECT_FALSE(writeProgress(pipe.writer.get(), kStep));
    EXPECT_TRUE(log.containsCode('W', "writeProgress", "write", EPIPE)) << log.dump();
}

TEST(ProgressReader, BreaksAtALengthBeyondTheLimit) {
    for (const uint32_t length :
         {uint32_t{kLongestProgressText} + 1, 0x7FFFFFFFU, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        ProgressReader reader;
        reader.append(withLength(bytesOf(kStep), length));
        EXPECT_FALSE(reader.next());
        EXPECT_TRUE(reader.isBroken()) << length;
    }
}

TEST(ProgressReader, TakesALengthAtTheLimit) {
    const ProgressRecord longest{.status = 1, .message = std::string(kLongestProgressText, 'x')};
    ProgressReader reader;
    reader.append(bytesOf(longest));
    expectRecord(reader, longest);
}

TEST(ProgressReader, BreaksAtBytesThatAreNoRecord) {
    ProgressReader reader;
    reader.append(bytesOf(kStep) + std::string(kHeadBytes, '\0') + bytesOf(kStep));
    expectRecord(reader, kStep);
    EXPECT_FALSE(reader.isBroken());
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(reader.isBroken());
}

TEST(ProgressReader, StaysBroken) {
    ProgressReader reader;
    reader.append("no record at all, whatever it is");
    EXPECT_FALSE(reader.next());
    for (int i = 0; i < 100; ++i) {
        reader.append(bytesOf(kStep));
        EXPECT_FALSE(reader.next());
    }
    EXPECT_TRUE(reader.isBroken());
}

} // namespace
