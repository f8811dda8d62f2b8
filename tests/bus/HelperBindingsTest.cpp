#include "Common/Utility/ReturnCodes.h"
#include "DBusIfc.h"
#include "tests/bus/PrivateBus.h"
#include "tests/bus/StandInHelper.h"
#include "tests/support/Processes.h"
#include "tests/support/Sandbox.h"

#include <cstddef>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Arguments = std::vector<std::pair<std::string, std::string>>;

Arguments namesAndSignatures(GDBusArgInfo** arguments) {
    Arguments list;
    for (; arguments != nullptr && *arguments != nullptr; ++arguments) {
        list.emplace_back((*arguments)->name, (*arguments)->signature);
        EXPECT_TRUE((*arguments)->annotations == nullptr || *(*arguments)->annotations == nullptr);
    }
    return list;
}

template <typename T> std::size_t lengthOf(T** list) {
    std::size_t length = 0;
    while (list != nullptr && list[length] != nullptr) {
        ++length;
    }
    return length;
}

GSignalQuery signalOf(const char* name) {
    // The signals come with the class that implements the interface.
    const auto skeleton = adoptRef(mero_helper_skeleton_new());
    GSignalQuery query{};
    g_signal_query(g_signal_lookup(name, mero_helper_get_type()), &query);
    return query;
}

std::vector<GType> parametersOf(const GSignalQuery& query) {
    return {query.param_types, query.param_types + query.n_params};
}

// Both sides of the link are written for these signatures.
template <typename Function, typename Signature>
constexpr bool kHasSignature = std::is_same_v<Function, Signature>;
using Proxy = MeroHelper;

static_assert(kHasSignature<decltype(mero_helper_complete_start_mero),
                            void(MeroHelper*, GDBusMethodInvocation*, gboolean)>);
static_assert(kHasSignature<decltype(mero_helper_complete_exit), void(MeroHelper*, GDBusMethodInvocation*)>);
static_assert(kHasSignature<decltype(mero_helper_emit_update_progress),
                            void(MeroHelper*, gint64, guint, const gchar*)>);
static_assert(kHasSignature<decltype(mero_helper_call_start_mero),
                            void(Proxy*, GVariant*, GCancellable*, GAsyncReadyCallback, gpointer)>);
static_assert(kHasSignature<decltype(mero_helper_call_start_mero_finish),
                            gboolean(Proxy*, gboolean*, GAsyncResult*, GError**)>);
static_assert(kHasSignature<decltype(mero_helper_call_start_mero_sync),
                            gboolean(Proxy*, GVariant*, gboolean*, GCancellable*, GError**)>);
static_assert(kHasSignature<decltype(mero_helper_call_exit),
                            void(Proxy*, guint, GCancellable*, GAsyncReadyCallback, gpointer)>);
static_assert(
    kHasSignature<decltype(mero_helper_call_exit_finish), gboolean(Proxy*, GAsyncResult*, GError**)>);
static_assert(
    kHasSignature<decltype(mero_helper_call_exit_sync), gboolean(Proxy*, guint, GCancellable*, GError**)>);
static_assert(kHasSignature<decltype(mero_helper_proxy_new),
                            void(GDBusConnection*, GDBusProxyFlags, const gchar*, const gchar*, GCancellable*,
                                 GAsyncReadyCallback, gpointer)>);
static_assert(kHasSignature<decltype(mero_helper_proxy_new_finish), Proxy*(GAsyncResult*, GError**)>);
static_assert(kHasSignature<decltype(mero_helper_proxy_new_sync),
                            Proxy*(GDBusConnection*, GDBusProxyFlags, const gchar*, const gchar*,
                                   GCancellable*, GError**)>);
static_assert(kHasSignature<decltype(mero_helper_proxy_new_for_bus),
                            void(GBusType, GDBusProxyFlags, const gchar*, const gchar*, GCancellable*,
                                 GAsyncReadyCallback, gpointer)>);
static_assert(kHasSignature<decltype(mero_helper_proxy_new_for_bus_finish), Proxy*(GAsyncResult*, GError**)>);
static_assert(
    kHasSignature<decltype(mero_helper_proxy_new_for_bus_sync),
                  Proxy*(GBusType, GDBusProxyFlags, const gchar*, const gchar*, GCancellable*, GError**)>);
static_assert(kHasSignature<decltype(mero_helper_skeleton_new), MeroHelper*()>);
// The order in the table of virtual functions.
static_assert(offsetof(MeroHelperIface, handle_exit) == sizeof(GTypeInterface));
static_assert(offsetof(MeroHelperIface, handle_start_mero) == sizeof(GTypeInterface) + sizeof(GCallback));
static_assert(offsetof(MeroHelperIface, update_progress) == sizeof(GTypeInterface) + 2 * sizeof(GCallback));
static_assert(sizeof(MeroHelperIface) == sizeof(GTypeInterface) + 3 * sizeof(GCallback));

TEST(HelperBindings, DescribeTheInterface) {
    const GDBusInterfaceInfo* const info = mero_helper_interface_info();
    ASSERT_NE(info, nullptr);
    EXPECT_STREQ(info->name, "com.varnel.corvane.mero.helper");
    EXPECT_EQ(lengthOf(info->methods), 2U);
    EXPECT_EQ(lengthOf(info->signals), 1U);
    EXPECT_EQ(lengthOf(info->properties), 0U);
    EXPECT_EQ(lengthOf(info->annotations), 0U);
}

TEST(HelperBindings, DescribeTheMethods) {
    GDBusInterfaceInfo* const info = mero_helper_interface_info();
    const GDBusMethodInfo* const start = g_dbus_interface_info_lookup_method(info, "StartMERO");
    ASSERT_NE(start, nullptr);
    EXPECT_THAT(namesAndSignatures(start->in_args), ElementsAre(Pair("mero_args", "a{ss}")));
    EXPECT_THAT(namesAndSignatures(start->out_args), ElementsAre(Pair("result", "b")));
    EXPECT_EQ(lengthOf(start->annotations), 0U);
    const GDBusMethodInfo* const exit = g_dbus_interface_info_lookup_method(info, "Exit");
    ASSERT_NE(exit, nullptr);
    EXPECT_THAT(namesAndSignatures(exit->in_args), ElementsAre(Pair("delay_seconds", "u")));
    EXPECT_THAT(namesAndSignatures(exit->out_args), IsEmpty());
    EXPECT_EQ(lengthOf(exit->annotations), 0U);
}

TEST(HelperBindings, DescribeTheSignal) {
    const GDBusSignalInfo* const signal =
        g_dbus_interface_info_lookup_signal(mero_helper_interface_info(), "UpdateProgress");
    ASSERT_NE(signal, nullptr);
    EXPECT_THAT(namesAndSignatures(signal->args),
                ElementsAre(Pair("status", "x"), Pair("progress", "u"), Pair("message", "s")));
    EXPECT_EQ(lengthOf(signal->annotations), 0U);
}

TEST(HelperBindings, DefineTheTypes) {
    const GType interface = mero_helper_get_type();
    EXPECT_STREQ(g_type_name(interface), "MeroHelper");
    EXPECT_TRUE(G_TYPE_IS_INTERFACE(interface));
    guint count = 0;
    const std::unique_ptr<GType, Releaser<&g_free>> prerequisites(
        g_type_interface_prerequisites(interface, &count));
    ASSERT_EQ(count, 1U);
    EXPECT_EQ(*prerequisites, G_TYPE_OBJECT);

    EXPECT_STREQ(g_type_name(mero_helper_proxy_get_type()), "MeroHelperProxy");
    EXPECT_EQ(g_type_parent(mero_helper_proxy_get_type()), G_TYPE_DBUS_PROXY);
    EXPECT_TRUE(g_type_is_a(mero_helper_proxy_get_type(), interface));
    EXPECT_STREQ(g_type_name(mero_helper_skeleton_get_type()), "MeroHelperSkeleton");
    EXPECT_EQ(g_type_parent(mero_helper_skeleton_get_type()), G_TYPE_DBUS_INTERFACE_SKELETON);
    EXPECT_TRUE(g_type_is_a(mero_helper_skeleton_get_type(), interface));
}

TEST(HelperBindings, DefineTheSignalsOfTheMethods) {
    const GSignalQuery start = signalOf("handle-start-mero");
    EXPECT_EQ(start.signal_flags, G_SIGNAL_RUN_LAST);
    EXPECT_EQ(start.return_type, G_TYPE_BOOLEAN);
    EXPECT_THAT(parametersOf(start), ElementsAre(G_TYPE_DBUS_METHOD_INVOCATION, G_TYPE_VARIANT));
    const GSignalQuery exit = signalOf("handle-exit");
    EXPECT_EQ(exit.signal_flags, G_SIGNAL_RUN_LAST);
    EXPECT_EQ(exit.return_type, G_TYPE_BOOLEAN);
    EXPECT_THAT(parametersOf(exit), ElementsAre(G_TYPE_DBUS_METHOD_INVOCATION, G_TYPE_UINT));
}

TEST(HelperBindings, DefineTheSignalOfProgress) {
    const GSignalQuery progress = signalOf("update-progress");
    EXPECT_EQ(progress.signal_flags, G_SIGNAL_RUN_LAST);
    EXPECT_EQ(progress.return_type, G_TYPE_NONE);
    EXPECT_THAT(parametersOf(progress), ElementsAre(G_TYPE_INT64, G_TYPE_UINT, G_TYPE_STRING));
}

TEST(HelperBindings, DefineNoOtherSignals) {
    const auto skeleton = adoptRef(mero_helper_skeleton_new());
    guint count = 0;
    const std::unique_ptr<guint, Releaser<&g_free>> ids(g_signal_list_ids(mero_helper_get_type(), &count));
    EXPECT_EQ(count, 3U);
}

TEST(HelperBindings, AskHandlersUntilOneHasHandledTheCall) {
    const auto skeleton = adoptRef(mero_helper_skeleton_new());
    int asked = 0;
    const auto pass = +[](MeroHelper* /*skeleton*/, GDBusMethodInvocation* /*call*/, guint /*delay*/,
                          gpointer counter) -> gboolean {
        ++*static_cast<int*>(counter);
        return FALSE;
    };
    const auto handle = +[](MeroHelper* /*skeleton*/, GDBusMethodInvocation* /*call*/, guint /*delay*/,
                            gpointer counter) -> gboolean {
        ++*static_cast<int*>(counter);
        return TRUE;
    };
    g_signal_connect(skeleton.get(), "handle-exit", G_CALLBACK(pass), &asked);
    g_signal_connect(skeleton.get(), "handle-exit", G_CALLBACK(handle), &asked);
    g_signal_connect(skeleton.get(), "handle-exit", G_CALLBACK(handle), &asked);
    gboolean handled = FALSE;
    g_signal_emit_by_name(skeleton.get(), "handle-exit", nullptr, 3U, &handled);
    EXPECT_TRUE(handled);
    EXPECT_EQ(asked, 2);
}

/// A proxy and a stand-in for the helper on a bus of the test's own.
class HelperLink : public Sandbox {
public:
    ~HelperLink() override {
        m_proxy.reset();
        m_connection.reset();
        settle();
    }

protected:
    static void SetUpTestSuite() {
        g_log_set_always_fatal(
            static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    }

    void connect(StandInHelper::Answer answer = StandInHelper::Answer::Taken) {
        setEnvironment("DBUS_SYSTEM_BUS_ADDRESS", m_bus.address());
        m_helper = std::make_unique<StandInHelper>(m_bus.address(), answer);
        m_connection = adoptRef(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
        ASSERT_NE(m_connection, nullptr);
        g_dbus_connection_set_exit_on_close(m_connection.get(), FALSE);
        m_proxy = adoptRef(mero_helper_proxy_new_sync(m_connection.get(), G_DBUS_PROXY_FLAGS_NONE, kName,
                                                      kPath, nullptr, nullptr));
        ASSERT_NE(m_proxy, nullptr);
    }
    static void settle() {
        while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
        }
    }
    static void waitFor(const bool& flag) {
        ASSERT_TRUE(eventually([&flag] {
            settle();
            return flag;
        }));
    }
    /// The reply of a method of the helper's object, or the text of its error.
    std::string call(const char* interface, const char* method, GVariant* arguments) {
        GError* error = nullptr;
        const VariantHandle reply(g_dbus_connection_call_sync(m_connection.get(), kName, kPath, interface,
                                                              method, arguments, nullptr,
                                                              G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error));
        if (reply == nullptr) {
            return ErrorHandle(error)->message;
        }
        return TextHandle(g_variant_print(reply.get(), TRUE)).get();
    }

    static constexpr const char* kName = "com.varnel.corvane.mero.helper";
    static constexpr const char* kPath = "/com/varnel/corvane/mero/helper";
    PrivateBus m_bus{path()};
    std::unique_ptr<StandInHelper> m_helper;
    GObjectHandle<GDBusConnection> m_connection;
    GObjectHandle<MeroHelper> m_proxy;
};

/// What an asynchronous call has come to.
struct Outcome {
    bool done = false;
    gboolean success = FALSE;
    gboolean taken = FALSE;
    GObjectHandle<MeroHelper> proxy;
};

TEST_F(HelperLink, RefusesUnknownMethods) {
    connect();
    EXPECT_EQ(call(kName, "StopMERO", nullptr), "GDBus.Error:org.freedesktop.DBus.Error.UnknownMethod: No "
                                                "such method \xE2\x80\x9CStopMERO\xE2\x80\x9D");
    EXPECT_THAT(m_helper->starts(), IsEmpty());
}

TEST_F(HelperLink, RefusesArgumentsOfAnotherType) {
    connect();
    EXPECT_THAT(call(kName, "StartMERO", g_variant_new("(s)", "text")),
                testing::StartsWith("GDBus.Error:org.freedesktop.DBus.Error.InvalidArgs: "));
    EXPECT_THAT(call(kName, "Exit", g_variant_new("(i)", 3)),
                testing::StartsWith("GDBus.Error:org.freedesktop.DBus.Error.InvalidArgs: "));
    EXPECT_THAT(m_helper->starts(), IsEmpty());
    EXPECT_THAT(m_helper->exits(), IsEmpty());
}

TEST_F(HelperLink, TellsThatNoHandlerTookTheCall) {
    connect(StandInHelper::Answer::NoHandler);
    EXPECT_EQ(call(kName, "StartMERO", g_variant_new("(a{ss})", nullptr)),
              "GDBus.Error:org.freedesktop.DBus.Error.UnknownMethod: Method StartMERO is not implemented on "
              "interface com.varnel.corvane.mero.helper");
}

TEST_F(HelperLink, HasNoProperties) {
    connect();
    EXPECT_EQ(call("org.freedesktop.DBus.Properties", "GetAll", g_variant_new("(s)", kName)), "(@a{sv} {},)");
    EXPECT_EQ(call("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", kName, "Any")),
              "GDBus.Error:org.freedesktop.DBus.Error.InvalidArgs: No such property \xE2\x80\x9C"
              "Any\xE2\x80\x9D");
}

TEST_F(HelperLink, CarriesADictionaryWithoutKeys) {
    connect();
    EXPECT_EQ(call(kName, "StartMERO", g_variant_new("(a{ss})", nullptr)), "(true,)");
    EXPECT_THAT(m_helper->starts(), ElementsAre(IsEmpty()));
}

TEST_F(HelperLink, AnswersExitWithNothing) {
    connect();
    EXPECT_EQ(call(kName, "Exit", g_variant_new("(u)", 3U)), "()");
    EXPECT_THAT(m_helper->exits(), ElementsAre(3U));
}

TEST_F(HelperLink, SetsTheProxyUpForTheInterface) {
    connect();
    GDBusProxy* const proxy = G_DBUS_PROXY(m_proxy.get());
    EXPECT_STREQ(g_dbus_proxy_get_name(proxy), kName);
    EXPECT_STREQ(g_dbus_proxy_get_object_path(proxy), kPath);
    EXPECT_STREQ(g_dbus_proxy_get_interface_name(proxy), kName);
    EXPECT_EQ(g_dbus_proxy_get_flags(proxy), G_DBUS_PROXY_FLAGS_NONE);
    EXPECT_EQ(g_dbus_proxy_get_connection(proxy), m_connection.get());
    EXPECT_EQ(g_dbus_proxy_get_interface_info(proxy), mero_helper_interface_info());
    EXPECT_EQ(g_dbus_proxy_get_default_timeout(proxy), -1);
}

TEST_F(HelperLink, ReachesTheHelperThroughTheSystemBus) {
    connect();
    const auto proxy = adoptRef(mero_helper_proxy_new_for_bus_sync(G_BUS_TYPE_SYSTEM, G_DBUS_PROXY_FLAGS_NONE,
                                                                   kName, kPath, nullptr, nullptr));
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(g_dbus_proxy_get_connection(G_DBUS_PROXY(proxy.get())), m_connection.get());
    EXPECT_TRUE(mero_helper_call_exit_sync(proxy.get(), 1, nullptr, nullptr));
    EXPECT_THAT(m_helper->exits(), ElementsAre(1U));
}

TEST_F(HelperLink, MakesProxiesWithoutBlocking) {
    connect();
    Outcome onConnection;
    mero_helper_proxy_new(
        m_connection.get(), G_DBUS_PROXY_FLAGS_NONE, kName, kPath, nullptr,
        [](GObject* /*source*/, GAsyncResult* result, gpointer data) {
            auto& outcome = *static_cast<Outcome*>(data);
            outcome.proxy = adoptRef(mero_helper_proxy_new_finish(result, nullptr));
            outcome.done = true;
        },
        &onConnection);
    waitFor(onConnection.done);
    EXPECT_TRUE(IS_MERO_HELPER_PROXY(onConnection.proxy.get()));
    Outcome onBus;
    mero_helper_proxy_new_for_bus(
        G_BUS_TYPE_SYSTEM, G_DBUS_PROXY_FLAGS_NONE, kName, kPath, nullptr,
        [](GObject* /*source*/, GAsyncResult* result, gpointer data) {
            auto& outcome = *static_cast<Outcome*>(data);
            outcome.proxy = adoptRef(mero_helper_proxy_new_for_bus_finish(result, nullptr));
            outcome.done = true;
        },
        &onBus);
    waitFor(onBus.done);
    EXPECT_TRUE(IS_MERO_HELPER_PROXY(onBus.proxy.get()));
}

TEST_F(HelperLink, CallsWithoutBlocking) {
    connect();
    Outcome start;
    mero_helper_call_start_mero(
        m_proxy.get(), g_variant_new("a{ss}", nullptr), nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto& outcome = *static_cast<Outcome*>(data);
            outcome.success =
                mero_helper_call_start_mero_finish(MERO_HELPER(source), &outcome.taken, result, nullptr);
            outcome.done = true;
        },
        &start);
    waitFor(start.done);
    EXPECT_TRUE(start.success);
    EXPECT_TRUE(start.taken);
    Outcome exit;
    mero_helper_call_exit(
        m_proxy.get(), 4, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto& outcome = *static_cast<Outcome*>(data);
            outcome.success = mero_helper_call_exit_finish(MERO_HELPER(source), result, nullptr);
            outcome.done = true;
        },
        &exit);
    waitFor(exit.done);
    EXPECT_TRUE(exit.success);
    EXPECT_THAT(m_helper->exits(), ElementsAre(4U));
}

TEST_F(HelperLink, CarriesACodeAsAPositiveNumber) {
    connect();
    gint64 received = 0;
    const auto keep = +[](MeroHelper* /*proxy*/, gint64 status, guint /*progress*/, const gchar* /*message*/,
                          gpointer data) { *static_cast<gint64*>(data) = status; };
    g_signal_connect(m_proxy.get(), "update-progress", G_CALLBACK(keep), &received);
    m_helper->report(MEROOFFLINE_ERROR_PROCESSING, 1, "");
    ASSERT_TRUE(eventually([&received] {
        settle();
        return received != 0;
    }));
    EXPECT_EQ(received, 4273012747);
}

} // namespace
