// Documents that are made to exhaust memory, time or the stack.

#include "Common/Utility/ReturnCodes.h"
#include "tests/unit/documents/DocumentTest.h"
#include "tools/MERO/MEROEngine/implementations/parser/MEROXmlLoader.h"

#include <ctime>
#include <fstream>
#include <sys/resource.h>

namespace {

/// Most memory, in KiB, that the process has had in use so far.
long peakKiB() {
    rusage usage = {};
    EXPECT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
    return usage.ru_maxrss;
}

std::string repeated(const std::string& part, std::size_t times) {
    std::string all;
    all.reserve(part.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += part;
    }
    return all;
}

class HostileDocument : public DocumentTest {
protected:
    [[nodiscard]] bool load(const std::string& text) {
        return m_loader.load(text, kLoadText, m_trees) != nullptr;
    }
    [[nodiscard]] bool loadFile(const std::string& file) {
        return m_loader.load(file, kLoadFile, m_trees) != nullptr;
    }
    void expectMalformed(const std::string& message) {
        EXPECT_TRUE(logged('E', "errorCB", "xml errorCB: " + message))
            << m_log.lines().size()
            << " lines, the first: " << (m_log.lines().empty() ? "" : m_log.lines().front().text);
        EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF));
    }

    MEROXmlLoader m_loader;
    std::list<MEROXmlObject*> m_trees;
};

TEST_F(HostileDocument, OneHundredThousandLevelsFailCleanly) {
    EXPECT_FALSE(load(repeated("<a>", 100000) + repeated("</a>", 100000)));
    EXPECT_FALSE(loadFile(writeFile("deep.xml", repeated("<a>", 100000))));
    EXPECT_TRUE(m_trees.empty());
    expectMalformed(std::string("Excessive depth in document: ") + (kOlderLibrary ? "256" : "257") +
                    " use XML_PARSE_HUGE option\n");
}

TEST_F(HostileDocument, TheDeepestDocumentThatParsesIsRead) {
    EXPECT_TRUE(load(repeated("<a>", 256) + repeated("</a>", 256))) << m_log.dump();
    ASSERT_EQ(m_trees.size(), 1u);
    EXPECT_EQ(m_trees.front()->getCount(), 256u);
}

TEST_F(HostileDocument, NestedContentModelsFailCleanly) {
    EXPECT_FALSE(load("<!DOCTYPE a [<!ELEMENT a " + repeated("(", 100000) + ">]><a/>"));
    EXPECT_TRUE(m_log.contains('E', "xml errorCB: ")) << m_log.dump();
}

std::string entityBomb(const std::string& use) {
    std::string text = "<!DOCTYPE a [<!ENTITY e0 \"lolololol\">";
    for (int level = 1; level < 12; ++level) {
        text += "<!ENTITY e" + std::to_string(level) + " \"" +
                repeated("&e" + std::to_string(level - 1) + ";", 10) + "\">";
    }
    return text + "]>" + use;
}

TEST_F(HostileDocument, AnEntityBombInTextFailsAtItsFirstReference) {
    EXPECT_FALSE(load(entityBomb("<a>&e11;</a>")));
    expectMalformed("Entity 'e11' not defined\n");
}

TEST_F(HostileDocument, AnEntityBombInAnAttributeFailsAtItsFirstReference) {
    EXPECT_FALSE(load(entityBomb("<a x=\"&e11;\"/>")));
    expectMalformed("Entity 'e11' not defined\n");
}

TEST_F(HostileDocument, OneLongEntityUsedOftenTakesNoMemory) {
    const std::string text =
        "<!DOCTYPE a [<!ENTITY e \"" + std::string(50000, 'x') + "\">]><a>" + repeated("&e;", 1000) + "</a>";
    const long before = peakKiB();
    EXPECT_FALSE(load(text));
    expectMalformed("Entity 'e' not defined\n");
    // Expanded it would be 50 MB.
    EXPECT_LT(peakKiB() - before, 20 * 1024);
}

TEST_F(HostileDocument, AParameterEntityBombFailsAtItsFirstReference) {
    const std::string start = "<!DOCTYPE a [<!ENTITY % p \"<!ENTITY e 'x'>\"> %p; %p;]>";
    EXPECT_FALSE(load(start + "<a/>"));
    expectMalformed("PEReference: %p; not found\n");
    EXPECT_FALSE(load(start + "<a>&e;</a>"));
}

TEST_F(HostileDocument, AnEntityThatHoldsItselfIsUndefined) {
    EXPECT_FALSE(load("<!DOCTYPE a [<!ENTITY e \"&f;\"><!ENTITY f \"&e;\">]><a>&e;</a>"));
    expectMalformed("Entity 'e' not defined\n");
}

/// Writes a document of about `bytes` bytes: `head`, `part` over and over, `tail`.
void writeBig(const std::string& file, std::size_t bytes, const std::string& head, const std::string& part,
              const std::string& tail) {
    std::ofstream stream(file, std::ios::binary);
    const std::string block = repeated(part, 1 + (1u << 20) / part.size());
    stream << head;
    for (std::size_t written = 0; written < bytes; written += block.size()) {
        stream << block;
    }
    stream << tail;
    stream.close();
    ASSERT_TRUE(stream) << file;
}

constexpr std::size_t kHundredMegabytes = 100u << 20;

TEST_F(HostileDocument, AHundredMegabytesOfTextAreReadInBoundedMemory) {
    writeBig(path("big.xml"), kHundredMegabytes, "<a>", "0123456789abcde\n", "</a>");
    const long before = peakKiB();
    EXPECT_TRUE(loadFile(path("big.xml"))) << m_log.dump();
    ASSERT_EQ(m_trees.size(), 1u);
    EXPECT_GE(m_trees.front()->GetRoot()->getValue().size(), 93u << 20);
    // The text itself, and its former half while it grows.
    EXPECT_LT(peakKiB() - before, 500L * 1024);
}

TEST_F(HostileDocument, AHundredMegabytesOfElementsAreRead) {
    // Few and long, so that the instrumented build is quick too.
    writeBig(path("big.xml"), kHundredMegabytes, "<a>", "<b c=\"" + std::string(4000, 'v') + "\">t</b>",
             "</a>");
    EXPECT_TRUE(loadFile(path("big.xml"))) << m_log.dump();
    ASSERT_EQ(m_trees.size(), 1u);
    EXPECT_GT(m_trees.front()->getCount(), 25000u);
}

// The parser hands such text out in pieces of a few hundred bytes.
TEST_F(HostileDocument, TextOutsideAsciiTakesLinearTime) {
    const auto processorTimeFor = [&](std::size_t bytes) {
        MEROXmlLoader loader;
        std::list<MEROXmlObject*> trees;
        const std::string text = "<a>" + repeated("ä", bytes / 2) + "</a>";
        const std::clock_t start = std::clock();
        EXPECT_NE(loader.load(text, kLoadText, trees), nullptr) << m_log.dump();
        EXPECT_EQ(trees.front()->GetRoot()->getValue().size(), bytes);
        return static_cast<double>(std::clock() - start); // of this process alone, however busy the machine
    };
    static_cast<void>(processorTimeFor(1u << 20));
    const double small = processorTimeFor(4u << 20);
    const double large = processorTimeFor(32u << 20);
    // Eight times the text; quadratic growth would be 64 times the time.
    EXPECT_LT(large, 32 * small);
}

TEST_F(HostileDocument, ABigTruncatedFileFailsAndIsGivenUp) {
    writeBig(path("big.xml"), 20u << 20, "<a>", "0123456789abcde\n", "</");
    EXPECT_FALSE(loadFile(path("big.xml")));
    EXPECT_TRUE(m_trees.empty());
    EXPECT_TRUE(m_log.containsCode('E', "startParser", "xmlParseDocument", 0xFFFFFFFF)) << m_log.dump();
}

TEST_F(HostileDocument, ASparseFileOfNulBytesFailsAtItsFirstByte) {
    writeFile("holes.xml", "<a>");
    std::filesystem::resize_file(path("holes.xml"), std::uintmax_t{1} << 40);
    EXPECT_FALSE(loadFile(path("holes.xml")));
    expectMalformed(kOlderLibrary ? "Premature end of data in tag a line 1\n"
                                  : "Invalid character: Char 0x0 out of allowed range\n\n");
}

TEST_F(HostileDocument, AMalformedFileIsNotReadToItsEnd) {
    writeBig(path("big.xml"), 1u << 20, "<a>&early;", "0123456789abcde\n", "&late;</a>");
    EXPECT_FALSE(loadFile(path("big.xml")));
    expectMalformed("Entity 'early' not defined\n");
    EXPECT_FALSE(m_log.contains('E', "Entity 'late' not defined")) << m_log.dump();
}

TEST_F(HostileDocument, AnOverlongNameFails) {
    EXPECT_FALSE(load("<" + std::string(20u << 20, 'n') + "/>"));
    EXPECT_TRUE(m_log.contains('E', "xml errorCB: ")) << m_log.dump();
}

TEST_F(HostileDocument, AnOverlongAttributeFails) {
    EXPECT_FALSE(load("<a x=\"" + std::string(20u << 20, 'v') + "\"/>"));
    expectMalformed(std::string(kOlderLibrary ? "" : "Resource limit exceeded: ") +
                    "AttValue length too long\n");
}

TEST_F(HostileDocument, RandomBytesNeverParse) {
    unsigned state = 12345;
    for (int round = 0; round < 200; ++round) {
        std::string text = "<a>";
        for (int i = 0; i < 200; ++i) {
            state = state * 1103515245u + 12345u;
            text += static_cast<char>(state >> 16);
        }
        EXPECT_FALSE(load(text)) << round;
    }
    EXPECT_TRUE(m_trees.empty());
}

} // namespace
