#include "security/keychain/SecretServiceKeychain.h"

#include "platform/Log.h"
#include "security/SecStatus.h"
#include "security/keychain/CheckedValue.h"
#include "security/keychain/KeychainContext.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <libsecret/secret.h>

#include <algorithm>
#include <chrono>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

constexpr guint limitMs = 2000;
constexpr gulong turnPauseUs = 5000;
constexpr const char *turnName = "dev.kel.KelPay.KeychainWriter";

// The attributes of an item. The daemon knows our items by the first.
constexpr const char *schemaAttribute = "xdg:schema";
constexpr const char *schemaName = "dev.kel.KelPay.Keychain";
constexpr const char *classAttribute = "class";
constexpr const char *serviceAttribute = "service";
constexpr const char *groupAttribute = "group";
constexpr const char *accountAttribute = "account";
constexpr const char *labelAttribute = "label";
constexpr const char *keptAttribute = "attributes"; // the item's own, as JSON
constexpr const char *orderAttribute = "added";     // nanoseconds since 1970; the daemon's own times are whole seconds

struct Unref
{
    void operator()(gpointer object) const { g_object_unref(object); }
    void operator()(GHashTable *table) const { g_hash_table_unref(table); }
    void operator()(GMainContext *context) const { g_main_context_unref(context); }
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
    void operator()(SecretValue *value) const { secret_value_unref(value); }
    void operator()(gchar *text) const { g_free(text); }
    void operator()(GError *error) const { g_error_free(error); }
};
template <typename T> using Ref = std::unique_ptr<T, Unref>;
using Items = std::vector<Ref<SecretItem>>;

// A secret service on a connection of our own, whose prompts are refused as "locked" before they show.
struct PromptlessService
{
    SecretService parent;
};
struct PromptlessServiceClass
{
    SecretServiceClass parent;
};
G_DEFINE_TYPE(PromptlessService, promptless_service, SECRET_TYPE_SERVICE)

GVariant *refusePrompt(SecretService * /*service*/, SecretPrompt * /*prompt*/, GCancellable * /*cancellable*/,
                       const GVariantType * /*type*/, GError **error)
{
    g_set_error_literal(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED, "a prompt is needed");
    return nullptr;
}

void refusePromptLater(SecretService *service, SecretPrompt * /*prompt*/, const GVariantType * /*type*/,
                       GCancellable *cancellable, GAsyncReadyCallback callback, gpointer data)
{
    const Ref<GTask> task(g_task_new(service, cancellable, callback, data));
    g_task_return_new_error(task.get(), SECRET_ERROR, SECRET_ERROR_IS_LOCKED, "a prompt is needed");
}

GVariant *refusedPrompt(SecretService * /*service*/, GAsyncResult *result, GError **error)
{
    return static_cast<GVariant *>(g_task_propagate_pointer(G_TASK(result), error));
}

// The parent asks for the shared session connection, which would take the place of the one given.
GObject *keepOwnConnection(GType type, guint count, GObjectConstructParam *properties)
{
    GObject *service = G_OBJECT_CLASS(promptless_service_parent_class)->constructor(type, count, properties);
    g_object_set(service, "g-bus-type", G_BUS_TYPE_NONE, nullptr);
    return service;
}

void promptless_service_init(PromptlessService * /*service*/) {}

void promptless_service_class_init(PromptlessServiceClass *type)
{
    G_OBJECT_CLASS(type)->constructor = keepOwnConnection;
    type->parent.prompt_sync = refusePrompt;
    type->parent.prompt_async = refusePromptLater;
    type->parent.prompt_finish = refusedPrompt;
}

class Attributes
{
public:
    Attributes() : m_table(g_hash_table_new_full(g_str_hash, g_str_equal, nullptr, g_free))
    {
        g_hash_table_insert(m_table.get(), key(schemaAttribute), g_strdup(schemaName));
    }
    explicit Attributes(const KeychainMatch &match) : Attributes()
    {
        insert(classAttribute, QString::number(static_cast<int>(match.itemClass)));
        insert(serviceAttribute, match.service);
        insert(groupAttribute, match.accessGroup);
        insert(accountAttribute, match.account);
    }
    /// What names the item.
    explicit Attributes(const KeychainItem &item)
        : Attributes(KeychainMatch{item.itemClass, item.service, item.accessGroup, item.account})
    {
        insert(labelAttribute, item.label);
    }

    void insert(const char *name, const std::optional<QString> &text)
    {
        if (!text)
            return;
        m_isValid = m_isValid && !text->contains(QChar(u'\0'));
        g_hash_table_insert(m_table.get(), key(name), g_strdup(text->toUtf8().constData()));
    }
    bool isValid() const { return m_isValid; }
    GHashTable *table() const { return m_table.get(); }

private:
    // The names are constants that outlive the table.
    static gpointer key(const char *name) { return const_cast<char *>(name); }
    Ref<GHashTable> m_table;
    bool m_isValid = true;
};

QString text(GHashTable *attributes, const char *name)
{
    const auto *found = static_cast<const char *>(g_hash_table_lookup(attributes, name));
    return found ? Bytes(std::string_view(found)).toText() : QString();
}

KeychainItem itemOf(SecretItem *stored)
{
    const Ref<GHashTable> table(secret_item_get_attributes(stored));
    KeychainItem item;
    item.itemClass = static_cast<KeychainItemClass>(text(table.get(), classAttribute).toInt());
    item.service = text(table.get(), serviceAttribute);
    item.accessGroup = text(table.get(), groupAttribute);
    item.account = text(table.get(), accountAttribute);
    item.label = text(table.get(), labelAttribute);
    item.attributes = QJsonDocument::fromJson(text(table.get(), keptAttribute).toUtf8()).object().toVariantMap();
    return item;
}

qulonglong orderOf(SecretItem *stored)
{
    const Ref<GHashTable> table(secret_item_get_attributes(stored));
    return text(table.get(), orderAttribute).toULongLong();
}

Ref<SecretValue> secretOf(const std::optional<Bytes> &value, const KeychainItem &item)
{
    const auto checked = checkedText(value, contextOf(item));
    if (!checked)
        return nullptr;
    return Ref<SecretValue>(secret_value_new(reinterpret_cast<const gchar *>(checked->data()),
                                             static_cast<gssize>(checked->size()), "text/plain"));
}

// One call's conversation with the daemon. Every operation is started in a main context of our own and awaited there,
// beside the timer that cancels it. The first failure decides the status.
class Conversation
{
    // `start` gets (cancellable, callback, data), `finish` gets (result, error).
    template <typename Start, typename Finish> auto await(Start start, Finish finish)
    {
        GAsyncResult *result = nullptr;
        const GAsyncReadyCallback keep = [](GObject *, GAsyncResult *ready, gpointer slot) {
            *static_cast<GAsyncResult **>(slot) = G_ASYNC_RESULT(g_object_ref(ready));
        };
        start(m_cancellable.get(), keep, static_cast<gpointer>(&result));
        while (!result)
            g_main_context_iteration(m_context.get(), TRUE);
        GError *error = nullptr;
        auto value = finish(result, &error);
        g_object_unref(result);
        if (error)
            fail(Ref<GError>(error));
        return value;
    }

public:
    enum class Purpose { Read, Write };

    explicit Conversation(Purpose purpose)
    {
        g_main_context_push_thread_default(m_context.get());
        GSource *timer = g_timeout_source_new(limitMs);
        g_source_set_callback(
            timer,
            [](gpointer cancellable) {
                g_cancellable_cancel(G_CANCELLABLE(cancellable));
                return G_SOURCE_REMOVE;
            },
            m_cancellable.get(), nullptr);
        g_source_attach(timer, m_context.get());
        g_source_unref(timer);
        if (connect() && (purpose == Purpose::Read || takeTurn()))
            openCollection();
    }
    Conversation(const Conversation &) = delete;
    Conversation &operator=(const Conversation &) = delete;
    ~Conversation()
    {
        m_collection.reset();
        m_service.reset();
        m_connection.reset();
        while (g_main_context_iteration(m_context.get(), FALSE)) {
        }
        g_main_context_pop_thread_default(m_context.get());
    }

    int status() const { return m_status; }
    bool isGood() const { return m_status == SecStatus::Success; }

    /// In the order they were added.
    Items find(const Attributes &attributes)
    {
        if (!isGood() || !attributes.isValid())
            return {};
        GList *list = await(
            [&](auto... rest) {
                secret_collection_search(m_collection.get(), nullptr, attributes.table(), SECRET_SEARCH_ALL, rest...);
            },
            [&](auto... rest) { return secret_collection_search_finish(m_collection.get(), rest...); });
        Items items;
        for (const GList *link = list; link; link = link->next)
            items.emplace_back(SECRET_ITEM(link->data));
        g_list_free(list);
        std::stable_sort(items.begin(), items.end(),
                         [](const auto &a, const auto &b) { return orderOf(a.get()) < orderOf(b.get()); });
        return items;
    }

    Ref<SecretItem> create(const KeychainItem &item)
    {
        Attributes attributes(item);
        attributes.insert(
            keptAttribute,
            QString::fromUtf8(
                QJsonDocument(QJsonObject::fromVariantMap(item.attributes)).toJson(QJsonDocument::Compact)));
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        attributes.insert(orderAttribute, QString::number(std::chrono::nanoseconds(now).count()));
        const auto secret = secretOf(item.value, item);
        if (!secret)
            m_status = SecStatus::NotAvailable;
        if (!isGood())
            return nullptr;
        const QByteArray shown = (item.service + u": "_s + item.account).toUtf8();
        return Ref<SecretItem>(await(
            [&](auto... rest) {
                secret_item_create(m_collection.get(), nullptr, attributes.table(), shown.constData(), secret.get(),
                                   SECRET_ITEM_CREATE_NONE, rest...);
            },
            [](auto... rest) { return secret_item_create_finish(rest...); }));
    }

    bool set(SecretItem *stored, const Bytes &value)
    {
        const auto secret = secretOf(value, itemOf(stored));
        if (!secret)
            m_status = SecStatus::NotAvailable;
        return isGood() && await([&](auto... rest) { secret_item_set_secret(stored, secret.get(), rest...); },
                                 [&](auto... rest) { return secret_item_set_secret_finish(stored, rest...); });
    }

    bool remove(SecretItem *stored)
    {
        return await([&](auto... rest) { secret_item_delete(stored, rest...); },
                     [&](auto... rest) { return secret_item_delete_finish(stored, rest...); });
    }

    Ref<SecretValue> load(SecretItem *stored)
    {
        await([&](auto... rest) { secret_item_load_secret(stored, rest...); },
              [&](auto... rest) { return secret_item_load_secret_finish(stored, rest...); });
        return Ref<SecretValue>(isGood() ? secret_item_get_secret(stored) : nullptr);
    }

private:
    void fail(const Ref<GError> &error)
    {
        if (!isGood())
            return;
        m_status = SecStatus::NotAvailable;
        if (g_error_matches(error.get(), SECRET_ERROR, SECRET_ERROR_IS_LOCKED)) {
            failLocked();
        } else if (g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
            qCWarning(logStore, "The desktop's secret service did not answer within %u ms; restart its daemon",
                      limitMs);
        } else {
            qCWarning(logStore, "The desktop's secret service can't be used: %s (%s)",
                      m_connection ? "daemon" : "session bus", error->message);
        }
    }

    void failLocked()
    {
        qCWarning(logStore, "The desktop's default keyring is locked; unlock it and try again");
        m_status = SecStatus::InteractionNotAllowed;
    }

    bool connect()
    {
        // As every client finds the bus, but for starting one: that takes as long as it likes and holds no keyring.
        QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        if (address.isEmpty()) {
            const Ref<gchar> path(g_dbus_address_escape_value((qgetenv("XDG_RUNTIME_DIR") + "/bus").constData()));
            address = QByteArray("unix:path=") + path.get();
        }
        // Not the process's shared connection: that one is the host's, and ends the process when the bus goes.
        constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        m_connection.reset(await(
            [&](auto... rest) { g_dbus_connection_new_for_address(address.constData(), flags, nullptr, rest...); },
            [](auto... rest) { return g_dbus_connection_new_for_address_finish(rest...); }));
        return m_connection != nullptr;
    }

    // Finding and creating are two requests; who owns the name is the only writer between them. The bus takes the name
    // back when the connection ends, however it ends.
    bool takeTurn()
    {
        constexpr guint32 doNotQueue = 4;
        constexpr guint32 isOwner = 1;
        for (;;) {
            const Ref<GVariant> reply(await(
                [&](auto... rest) {
                    g_dbus_connection_call(m_connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                           "org.freedesktop.DBus", "RequestName",
                                           g_variant_new("(su)", turnName, doNotQueue), G_VARIANT_TYPE("(u)"),
                                           G_DBUS_CALL_FLAGS_NONE, -1, rest...);
                },
                [&](auto... rest) { return g_dbus_connection_call_finish(m_connection.get(), rest...); }));
            if (!reply)
                return false;
            guint32 owner = 0;
            g_variant_get(reply.get(), "(u)", &owner);
            if (owner == isOwner)
                return true;
            g_usleep(turnPauseUs);
        }
    }

    void openCollection()
    {
        m_service.reset(await(
            [&](auto... rest) {
                g_async_initable_new_async(promptless_service_get_type(), G_PRIORITY_DEFAULT, rest..., "g-connection",
                                           m_connection.get(), nullptr);
            },
            [](GAsyncResult *result, GError **error) {
                const Ref<GObject> source(g_async_result_get_source_object(result));
                GObject *made = g_async_initable_new_finish(G_ASYNC_INITABLE(source.get()), result, error);
                return made ? SECRET_SERVICE(made) : nullptr;
            }));
        if (!m_service)
            return;
        m_collection.reset(await(
            [&](auto... rest) {
                secret_collection_for_alias(m_service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE,
                                            rest...);
            },
            [](auto... rest) { return secret_collection_for_alias_finish(rest...); }));
        if (!isGood())
            return;
        if (!m_collection) {
            qCWarning(logStore, "The desktop's secret service has no default keyring; make one");
            m_status = SecStatus::NotAvailable;
        } else if (secret_collection_get_locked(m_collection.get())) {
            failLocked();
        }
    }

    int m_status = SecStatus::Success;
    Ref<GMainContext> m_context{g_main_context_new()};
    Ref<GCancellable> m_cancellable{g_cancellable_new()};
    Ref<GDBusConnection> m_connection;
    Ref<SecretService> m_service;
    Ref<SecretCollection> m_collection;
};

} // namespace

int SecretServiceKeychain::add(const std::vector<KeychainItem> &items)
{
    for (const auto &item : items) {
        if (!Attributes(item).isValid())
            return SecStatus::Param;
    }
    Conversation conversation(Conversation::Purpose::Write);
    Items made;
    int status = conversation.status();
    for (auto item = items.begin(); status == SecStatus::Success && item != items.end(); ++item) {
        const bool isThere = !conversation.find(Attributes(*item)).empty();
        auto stored = isThere ? nullptr : conversation.create(*item);
        if (stored)
            made.push_back(std::move(stored));
        status = isThere ? SecStatus::DuplicateItem : conversation.status();
    }
    if (status != SecStatus::Success) {
        for (const auto &stored : made)
            conversation.remove(stored.get());
    }
    return status;
}

int SecretServiceKeychain::update(const KeychainMatch &match, const Bytes &value)
{
    Conversation conversation(Conversation::Purpose::Write);
    const auto found = conversation.find(Attributes(match));
    for (const auto &stored : found) {
        if (!conversation.set(stored.get(), value))
            break;
    }
    return conversation.isGood() && found.empty() ? SecStatus::ItemNotFound : conversation.status();
}

int SecretServiceKeychain::remove(const KeychainMatch &match)
{
    Conversation conversation(Conversation::Purpose::Write);
    const auto found = conversation.find(Attributes(match));
    for (const auto &stored : found) {
        if (!conversation.remove(stored.get()))
            break;
    }
    return conversation.isGood() && found.empty() ? SecStatus::ItemNotFound : conversation.status();
}

KeychainFound SecretServiceKeychain::findOne(const KeychainMatch &match, Content content)
{
    Conversation conversation(Conversation::Purpose::Read);
    const auto found = conversation.find(Attributes(match));
    if (!conversation.isGood())
        return {conversation.status(), {}};
    if (found.empty())
        return {SecStatus::ItemNotFound, {}};
    KeychainItem item = itemOf(found.front().get());
    if (content == Content::Value) {
        const auto secret = conversation.load(found.front().get());
        if (!conversation.isGood())
            return {conversation.status(), {}};
        gsize size = 0;
        const gchar *stored = secret ? secret_value_get(secret.get(), &size) : nullptr;
        const auto opened = openCheckedText(Bytes(stored, size), contextOf(item));
        if (!opened.isWhole)
            return {SecStatus::Decode, {}};
        item.value = opened.value;
    }
    return {SecStatus::Success, {item}};
}

KeychainFound SecretServiceKeychain::findAll(const KeychainMatch &match)
{
    Conversation conversation(Conversation::Purpose::Read);
    const auto found = conversation.find(Attributes(match));
    if (!conversation.isGood())
        return {conversation.status(), {}};
    KeychainFound result{found.empty() ? SecStatus::ItemNotFound : SecStatus::Success, {}};
    for (const auto &stored : found)
        result.items.push_back(itemOf(stored.get()));
    return result;
}

} // namespace kelpay
