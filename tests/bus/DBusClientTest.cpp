#include "tools/MERO/MEROOffline/Linux/DBusClient.h"
#include "Common/Utility/ReturnCodes.h"
#include "tests/bus/PrivateBus.h"
#include "tests/bus/StandInHelper.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"
#include "tools/MERO/MEROEngine/implementations/MEROStatusInfo.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <thread>

namespace {

using Answer = StandInHelper::Answer;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* kRefused =
    "Remote function returned with error. Please check MERO helper logs for more details.";

/// Keeps what it is told, and on which thread.
class Receiver : public CMEROClientIfc {
public:
    struct Update {
        uint32_t progress;
        std::string message;
        uint64_t status;
    };
    void updateStatus(const MEROStatusInfo* info, uint64_t status) override {
        m_updates.push_back({info->m_progress, info->m_message, status});
        m_threads.push_back(std::this_thread::get_id());
    }
    std::vector<Update> m_updates;
    std::vector<std::thread::id> m_threads;
};

/// Clients on a bus of the test's own. GLib's warnings end the test.
class BusClient : public Sandbox {
public:
    ~BusClient() override {
        m_clients.clear();
        settle();
    }

protected:
    static void settle() {
        while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
        }
    }
    static void SetUpTestSuite() {
        g_log_set_always_fatal(
            static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    }

    BusClient() { setEnvironment("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path("nobody")); }

    void startBus(const std::string& command = {}) {
        m_bus = std::make_unique<PrivateBus>(path(), command);
        setEnvironment("DBUS_SYSTEM_BUS_ADDRESS", m_bus->address());
    }
    StandInHelper& startHelper(Answer answer = Answer::Taken) {
        if (m_bus == nullptr) {
            startBus();
        }
        m_helper = std::make_unique<StandInHelper>(m_bus->address(), answer);
        return *m_helper;
    }
    CDBusClient& connectClient(Receiver& receiver) {
        m_clients.push_back(std::make_unique<CDBusClient>(&receiver));
        return *m_clients.back();
    }
    CDBusClient& connectClient() { return connectClient(m_receiver); }

    static void waitUntil(const std::function<bool()>& condition) {
        ASSERT_TRUE(eventually([&] {
            settle();
            return condition();
        }));
    }

    [[nodiscard]] bool logged(char severity, const std::string& function, const std::string& text) const {
        const std::string name = "\nFunction: " + function + "\n";
        for (const LogLine& line : m_log.lines()) {
            if (line.severity == severity && line.text.find(name) != std::string::npos &&
                line.text.ends_with("\n" + text)) {
                return true;
            }
        }
        return false;
    }
    /// The text of the only line there is, from its last field on.
    void expectOnlyLine(char severity, const std::string& function, const std::string& text) const {
        EXPECT_EQ(m_log.lines().size(), 1U) << m_log.dump();
        EXPECT_TRUE(logged(severity, function, text)) << m_log.dump();
    }

    CapturedLog m_log;
    Receiver m_receiver;
    std::unique_ptr<PrivateBus> m_bus;
    std::unique_ptr<StandInHelper> m_helper;
    std::vector<std::unique_ptr<CDBusClient>> m_clients;
};

TEST_F(BusClient, SendsItsArgumentsInOrder) {
    const StandInHelper& helper = startHelper();
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("/tmp/r.xml", "/opt/config", "/tmp/b.zip", "s e c"));
    ASSERT_EQ(helper.starts().size(), 1U);
    EXPECT_THAT(helper.starts().front(),
                ElementsAre(Pair("MERORequestDir", "/tmp/r.xml"), Pair("MEROConfigDir", "/opt/config"),
                            Pair("MEROBundlePath", "/tmp/b.zip"), Pair("MEROBundlePassword", "s e c")));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(BusClient, SendsEmptyArgumentsToo) {
    const StandInHelper& helper = startHelper();
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("", "", "", ""));
    ASSERT_EQ(helper.starts().size(), 1U);
    EXPECT_THAT(helper.starts().front(),
                ElementsAre(Pair("MERORequestDir", ""), Pair("MEROConfigDir", ""), Pair("MEROBundlePath", ""),
                            Pair("MEROBundlePassword", "")));
}

TEST_F(BusClient, LeavesOutEachArgumentThatIsNull) {
    const StandInHelper& helper = startHelper();
    CDBusClient& client = connectClient();
    EXPECT_TRUE(client.RequestHelperStartMERO(nullptr, "c", "b", "p"));
    EXPECT_TRUE(client.RequestHelperStartMERO("r", nullptr, "b", "p"));
    EXPECT_TRUE(client.RequestHelperStartMERO("r", "c", nullptr, "p"));
    EXPECT_TRUE(client.RequestHelperStartMERO("r", "c", "b", nullptr));
    const auto request = Pair("MERORequestDir", "r");
    const auto config = Pair("MEROConfigDir", "c");
    const auto bundle = Pair("MEROBundlePath", "b");
    const auto password = Pair("MEROBundlePassword", "p");
    EXPECT_THAT(helper.starts(),
                ElementsAre(ElementsAre(config, bundle, password), ElementsAre(request, bundle, password),
                            ElementsAre(request, config, password), ElementsAre(request, config, bundle)));
}

TEST_F(BusClient, SendsADictionaryWithoutKeysForNullArguments) {
    const StandInHelper& helper = startHelper();
    EXPECT_TRUE(connectClient().RequestHelperStartMERO(nullptr, nullptr, nullptr, nullptr));
    EXPECT_THAT(helper.starts(), ElementsAre(IsEmpty()));
}

TEST_F(BusClient, CarriesTextOfAnyAlphabet) {
    const StandInHelper& helper = startHelper();
    const std::string text = "\xC3\xA9\xE6\x97\xA5\xF0\x9F\x94\x91 '\"\\%s\n\x01";
    EXPECT_TRUE(connectClient().RequestHelperStartMERO(text.c_str(), "", text.c_str(), text.c_str()));
    ASSERT_EQ(helper.starts().size(), 1U);
    EXPECT_THAT(helper.starts().front(), testing::Contains(Pair("MEROBundlePassword", text)));
}

TEST_F(BusClient, CarriesAPasswordOfFourMegabytesAndNeverLogsIt) {
    const StandInHelper& helper = startHelper();
    const std::string password(4U << 20U, 'q');
    CDBusClient& client = connectClient();
    EXPECT_TRUE(client.RequestHelperStartMERO("", "", "b", password.c_str()));
    ASSERT_EQ(helper.starts().size(), 1U);
    EXPECT_TRUE(helper.starts().front().back().second == password);
    EXPECT_EQ(m_log.count('*', "qqqq"), 0);
}

TEST_F(BusClient, NeverLogsThePasswordWhenARequestFails) {
    startHelper(Answer::Refused);
    CDBusClient& client = connectClient();
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", "Geheim7"));
    m_helper->setAnswer(Answer::Error);
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", "Geheim7"));
    m_helper->setAnswer(Answer::Death);
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", "Geheim7"));
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", "Geheim7\xFF"));
    EXPECT_EQ(m_log.lines().size(), 4U) << m_log.dump();
    EXPECT_EQ(m_log.count('*', "Geheim7"), 0);
}

TEST_F(BusClient, WarnsWhenTheHelperRefuses) {
    startHelper(Answer::Refused);
    EXPECT_FALSE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    expectOnlyLine('W', "RequestHelperStartMERO", kRefused);
}

TEST_F(BusClient, LogsTheErrorThatTheHelperAnswers) {
    startHelper(Answer::Error);
    EXPECT_FALSE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    expectOnlyLine('E', "RequestHelperStartMERO",
                   "Failed to invoke remote function. "
                   "GDBus.Error:org.freedesktop.DBus.Error.AccessDenied: Not for you");
}

TEST_F(BusClient, LogsThatTheHelperLacksTheMethod) {
    startHelper(Answer::NoHandler);
    CDBusClient& client = connectClient();
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", ""));
    EXPECT_FALSE(client.RequestHelperExit(3));
    EXPECT_EQ(m_log.lines().size(), 2U);
    EXPECT_TRUE(
        logged('E', "RequestHelperStartMERO",
               "Failed to invoke remote function. GDBus.Error:org.freedesktop.DBus.Error.UnknownMethod: "
               "Method StartMERO is not implemented on interface com.varnel.corvane.mero.helper"));
    EXPECT_TRUE(
        logged('E', "RequestHelperExit",
               "Failed to invoke remote function. GDBus.Error:org.freedesktop.DBus.Error.UnknownMethod: "
               "Method Exit is not implemented on interface com.varnel.corvane.mero.helper"))
        << m_log.dump();
}

TEST_F(BusClient, LogsThatThereIsNoHelper) {
    startBus();
    CDBusClient& client = connectClient();
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
    const std::string text = "Failed to invoke remote function. "
                             "GDBus.Error:org.freedesktop.DBus.Error.ServiceUnknown: The name "
                             "com.varnel.corvane.mero.helper was not provided by any .service files";
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", ""));
    expectOnlyLine('E', "RequestHelperStartMERO", text);
    EXPECT_FALSE(client.RequestHelperExit(3));
    EXPECT_EQ(m_log.lines().size(), 2U);
    EXPECT_TRUE(logged('E', "RequestHelperExit", text)) << m_log.dump();
}

TEST_F(BusClient, FindsAHelperThatComesAfterIt) {
    startBus();
    CDBusClient& client = connectClient();
    const StandInHelper& helper = startHelper();
    EXPECT_TRUE(client.RequestHelperStartMERO("", "", "b", ""));
    EXPECT_EQ(helper.starts().size(), 1U);
}

TEST_F(BusClient, LogsThatThereIsNoBus) {
    CDBusClient& client = connectClient();
    expectOnlyLine('E', "CDBusClient",
                   "Failed to connect to DBus. Could not connect: No such file or directory");
    EXPECT_FALSE(client.RequestHelperStartMERO("r", "", "b", "p"));
    EXPECT_EQ(m_log.lines().size(), 2U);
    EXPECT_TRUE(logged('W', "RequestHelperStartMERO", kRefused)) << m_log.dump();
    EXPECT_FALSE(client.RequestHelperExit(3));
    EXPECT_EQ(m_log.lines().size(), 2U) << m_log.dump();
}

TEST_F(BusClient, LogsAnAddressThatIsNone) {
    setEnvironment("DBUS_SYSTEM_BUS_ADDRESS", "nonsense");
    EXPECT_FALSE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    EXPECT_EQ(m_log.count('E', "\nFailed to connect to DBus. "), 1) << m_log.dump();
}

TEST_F(BusClient, TriesTheBusAnewWithEachClient) {
    EXPECT_FALSE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    startHelper();
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("", "", "b", ""));
}

TEST_F(BusClient, LogsThatAHelperCantBeStarted) {
    startBus("/bin/false");
    CDBusClient& client = connectClient();
    expectOnlyLine(
        'E', "CDBusClient",
        "Failed to create proxy. Error calling StartServiceByName for "
        "com.varnel.corvane.mero.helper: Process com.varnel.corvane.mero.helper exited with status 1");
    EXPECT_FALSE(client.RequestHelperStartMERO("r", "", "b", "p"));
    EXPECT_TRUE(logged('W', "RequestHelperStartMERO", kRefused)) << m_log.dump();
    EXPECT_FALSE(client.RequestHelperExit(3));
    EXPECT_EQ(m_log.lines().size(), 2U) << m_log.dump();
}

TEST_F(BusClient, HasTheBusStartTheHelper) {
    startBus(STAND_IN_HELPER);
    CDBusClient& client = connectClient();
    EXPECT_TRUE(client.RequestHelperStartMERO("", "", "b", ""));
    EXPECT_TRUE(client.RequestHelperExit(0));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(BusClient, GivesUpAHelperThatNeverAnswers) {
    startHelper(Answer::None);
    constexpr std::chrono::milliseconds kLimit{300};
    CDBusClient client(&m_receiver, nullptr, kLimit);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", ""));
    const auto taken = std::chrono::steady_clock::now() - start;
    expectOnlyLine('E', "RequestHelperStartMERO", "Failed to invoke remote function. Timeout was reached");
    EXPECT_GE(taken, kLimit);
    EXPECT_LT(taken, kHelperCallLimit / 2);
}

TEST_F(BusClient, LogsThatTheHelperDiesBeforeItsAnswer) {
    startHelper(Answer::Death);
    EXPECT_FALSE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    expectOnlyLine('E', "RequestHelperStartMERO",
                   "Failed to invoke remote function. GDBus.Error:org.freedesktop.DBus.Error.NoReply: "
                   "Message recipient disconnected from message bus without replying");
}

TEST_F(BusClient, OutlivesTheBus) {
    startHelper();
    CDBusClient& client = connectClient();
    EXPECT_TRUE(client.RequestHelperStartMERO("", "", "b", ""));
    const auto connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    ASSERT_NE(connection, nullptr);
    EXPECT_FALSE(g_dbus_connection_get_exit_on_close(connection.get()));
    m_bus->stop();
    waitUntil([&] { return g_dbus_connection_is_closed(connection.get()) != FALSE; });
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", ""));
    expectOnlyLine('E', "RequestHelperStartMERO",
                   "Failed to invoke remote function. The connection is closed");
    EXPECT_FALSE(client.RequestHelperExit(3));
    EXPECT_TRUE(
        logged('E', "RequestHelperExit", "Failed to invoke remote function. The connection is closed"))
        << m_log.dump();

    const CDBusClient& late = connectClient();
    static_cast<void>(late);
    EXPECT_EQ(m_log.count('E', "\nFailed to create proxy. "), 1) << m_log.dump();
}

TEST_F(BusClient, AsksTheHelperToEndAfterItsDelay) {
    const StandInHelper& helper = startHelper();
    CDBusClient& client = connectClient();
    EXPECT_TRUE(client.RequestHelperExit(3));
    EXPECT_TRUE(client.RequestHelperExit(0));
    EXPECT_TRUE(client.RequestHelperExit(UINT32_MAX));
    EXPECT_THAT(helper.exits(), ElementsAre(3U, 0U, UINT32_MAX));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

TEST_F(BusClient, RefusesArgumentsThatAreNoUTF8) {
    const StandInHelper& helper = startHelper();
    CDBusClient& client = connectClient();
    EXPECT_FALSE(client.RequestHelperStartMERO("caf\xE9", "", "b", ""));
    EXPECT_FALSE(client.RequestHelperStartMERO("", "\xC3", "b", ""));
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "\xED\xA0\x80", ""));
    EXPECT_FALSE(client.RequestHelperStartMERO("", "", "b", "\xC0\x80"));
    EXPECT_THAT(helper.starts(), IsEmpty());
    EXPECT_EQ(m_log.count('W', kRefused), 4) << m_log.dump();
    EXPECT_EQ(m_log.lines().size(), 4U);
}

TEST_F(BusClient, HandsProgressOnAsItCame) {
    const StandInHelper& helper = startHelper();
    connectClient();
    helper.report(MEROOFFLINE_ERROR_PROCESSING, 40, "Processing Network...");
    helper.report(MEROOFFLINE_ERROR_PROCESSING, 0, "");
    helper.report(1, UINT32_MAX, "\xC3\xA9");
    helper.report(-1, 7, "negative");
    helper.report(0, 100, "end");
    waitUntil([&] { return m_receiver.m_updates.size() == 5; });
    EXPECT_THAT(m_receiver.m_updates,
                ElementsAre(FieldsAre(40U, "Processing Network...", 4273012747U),
                            FieldsAre(0U, "", 4273012747U), FieldsAre(UINT32_MAX, "\xC3\xA9", 1U),
                            FieldsAre(7U, "negative", UINT64_MAX), FieldsAre(100U, "end", 0U)));
    EXPECT_THAT(m_receiver.m_threads, testing::Each(std::this_thread::get_id()));
}

TEST_F(BusClient, KeepsProgressForTheMainLoopWhileItBlocks) {
    StandInHelper& helper = startHelper();
    helper.reportBeforeAnswer(MEROOFFLINE_ERROR_PROCESSING, 5, "early");
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    EXPECT_THAT(m_receiver.m_updates, IsEmpty());
    waitUntil([&] { return !m_receiver.m_updates.empty(); });
    EXPECT_THAT(m_receiver.m_updates, ElementsAre(FieldsAre(5U, "early", 4273012747U)));
}

TEST_F(BusClient, DropsUnknownSignals) {
    const StandInHelper& helper = startHelper();
    connectClient();
    helper.sendUnknownSignal();
    helper.report(0, 1, "known");
    waitUntil([&] { return !m_receiver.m_updates.empty(); });
    EXPECT_THAT(m_receiver.m_updates, ElementsAre(FieldsAre(1U, "known", 0U)));
}

TEST_F(BusClient, TakesThePlaceOfTheReceiverBefore) {
    const StandInHelper& helper = startHelper();
    Receiver later;
    connectClient();
    connectClient(later);
    m_clients.erase(m_clients.begin());
    helper.report(0, 9, "later");
    waitUntil([&] { return !later.m_updates.empty(); });
    EXPECT_THAT(later.m_updates, ElementsAre(FieldsAre(9U, "later", 0U)));
    EXPECT_THAT(m_receiver.m_updates, IsEmpty());
}

// There is one receiver in the process, and each client hears the helper.
TEST_F(BusClient, TellsTheLatestReceiverAsOftenAsThereAreClients) {
    const StandInHelper& helper = startHelper();
    Receiver later;
    connectClient();
    connectClient(later);
    helper.report(0, 9, "twice");
    waitUntil([&] { return later.m_updates.size() == 2; });
    EXPECT_THAT(m_receiver.m_updates, IsEmpty());
}

TEST_F(BusClient, LeavesTheReceiverAloneWhenItHasNoProxy) {
    startBus("/bin/false");
    startHelper();
    connectClient();
    m_helper.reset();
    Receiver never;
    connectClient(never);
    ASSERT_EQ(m_log.count('E', "\nFailed to create proxy. "), 1) << m_log.dump();
    startHelper().report(0, 2, "back");
    waitUntil([&] { return !m_receiver.m_updates.empty(); });
    EXPECT_THAT(m_receiver.m_updates, ElementsAre(FieldsAre(2U, "back", 0U)));
    EXPECT_THAT(never.m_updates, IsEmpty());
}

TEST_F(BusClient, HearsNothingAfterItsEnd) {
    const StandInHelper& helper = startHelper();
    connectClient();
    const auto connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    const auto witness = adoptRef(mero_helper_proxy_new_sync(
        connection.get(), G_DBUS_PROXY_FLAGS_NONE, "com.varnel.corvane.mero.helper",
        "/com/varnel/corvane/mero/helper", nullptr, nullptr));
    ASSERT_NE(witness, nullptr);
    bool delivered = false;
    const auto witnessed = +[](MeroHelper* /*proxy*/, gint64 /*status*/, guint /*progress*/,
                               const gchar* /*message*/, gpointer flag) { *static_cast<bool*>(flag) = true; };
    g_signal_connect(witness.get(), "update-progress", G_CALLBACK(witnessed), &delivered);
    m_clients.clear();
    helper.report(0, 1, "late");
    waitUntil([&] { return delivered; });
    EXPECT_THAT(m_receiver.m_updates, IsEmpty());
}

TEST_F(BusClient, HearsNothingAfterItsEndOfWhatHadArrivedBefore) {
    StandInHelper& helper = startHelper();
    helper.reportBeforeAnswer(0, 1, "queued");
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    m_clients.clear();
    settle();
    EXPECT_THAT(m_receiver.m_updates, IsEmpty());
}

class BusClientLog : public Sandbox {};

TEST_F(BusClientLog, IsOpenAsLongAsThereIsAClient) {
    setEnvironment("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path("nobody"));
    setEnvironment("ZRN_LOGGING_OUTPUT", "STDOUT");
    ASSERT_FALSE(isLoggerInstalled());
    Receiver receiver;
    auto first = std::make_unique<CDBusClient>(&receiver);
    auto second = std::make_unique<CDBusClient>(&receiver);
    second.reset();
    EXPECT_TRUE(isLoggerInstalled());
    first.reset();
    EXPECT_FALSE(isLoggerInstalled());
}

TEST_F(BusClient, StaysTheSameCallerForALaterJob) {
    const StandInHelper& helper = startHelper();
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("", "", "first", ""));
    m_clients.clear();
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("", "", "second", ""));
    const std::vector<std::string> callers = helper.callers();
    ASSERT_EQ(callers.size(), 2U);
    EXPECT_EQ(callers.front(), callers.back());
}

TEST_F(BusClient, FindsTheBusAgainAfterItsRestart) {
    startHelper();
    connectClient();
    auto lost = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    m_helper.reset();
    m_bus.reset();
    waitUntil([&] { return g_dbus_connection_is_closed(lost.get()) != FALSE; });
    m_clients.clear();
    lost.reset();
    settle();
    startHelper();
    EXPECT_TRUE(connectClient().RequestHelperStartMERO("", "", "b", ""));
    EXPECT_THAT(m_log.lines(), IsEmpty()) << m_log.dump();
}

} // namespace
