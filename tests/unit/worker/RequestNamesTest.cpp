#include "RequestNames.h"

#include "Sandbox.h"

#include <string>

class RequestNames : public Sandbox {
protected:
    [[nodiscard]] bool stay(const std::string& content) const {
        return namesStayInBundle(writeFile("request.xml", "<request>" + content + "</request>"));
    }
    [[nodiscard]] bool stayForName(const std::string& name) const {
        return stay("<file id=\"summary\"><name>" + name + "</name></file>");
    }
};

TEST_F(RequestNames, MayBeAnyFileNames) {
    for (const char* name : {"summary.txt", "a b.txt", ".hidden", "a.b.c", "", "\xC3\xA4.txt", "$HOME"}) {
        EXPECT_TRUE(stayForName(name)) << name;
    }
}

TEST_F(RequestNames, AreRefusedWithASlash) {
    for (const char* name : {"/etc/cron.d/x", "a/b", "a/", "../../etc/cron.d/x"}) {
        EXPECT_FALSE(stayForName(name)) << name;
    }
}

TEST_F(RequestNames, AreRefusedWithTwoDots) {
    for (const char* name : {"..", "a..b", " .. ", "..\\x"}) {
        EXPECT_FALSE(stayForName(name)) << name;
    }
}

TEST_F(RequestNames, AreRefusedInWhateverFormTheEngineReadsThem) {
    for (const char* name :
         {"<![CDATA[../x]]>", "..&#47;x", "&#x2F;etc", ".<!-- -->.", "<b/>/x", ".<b>c</b>.", "<?p i?>/etc"}) {
        EXPECT_FALSE(stayForName(name)) << name;
    }
}

TEST_F(RequestNames, AreRefusedWhereverTheyStand) {
    EXPECT_FALSE(stay("<name>/x</name>"));
    EXPECT_FALSE(stay("<file id=\"comments\"><deep><deeper><name>/x</name></deeper></deep></file>"));
    EXPECT_FALSE(stay("<name>good<name>/x</name></name>"));
    EXPECT_FALSE(stay("<file id=\"summary\"><name>good</name><name>/x</name></file>"));
    EXPECT_FALSE(namesStayInBundle(writeFile("root.xml", "<name>/x</name>")));
}

TEST_F(RequestNames, AreNoOtherElements) {
    EXPECT_TRUE(stay("<Name>/x</Name><names>/x</names><comments>a/b, and ..</comments>"));
    EXPECT_TRUE(stay("<file id=\"summary\" name=\"/x\"><title>/x</title></file>"));
}

TEST_F(RequestNames, AreNoneInWhatIsNoRequest) {
    EXPECT_TRUE(namesStayInBundle(path("missing.xml")));
    EXPECT_TRUE(namesStayInBundle(writeFile("bad.xml", "<request><name>/x</name>")));
    EXPECT_TRUE(namesStayInBundle(writeFile("empty.xml", "")));
}
