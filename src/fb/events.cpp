#include "events.h"

#include "database.h"
#include "fbapi_p.h"
#include "win1252.h"

#include <QMetaObject>
#include <QPointer>

#include <atomic>
#include <mutex>

using namespace Firebird;

namespace fb {

// What the engine's thread and the owner's thread share. The lock guards only these
// fields: no call into the client library is ever made while holding it.
struct EventShared
{
    std::mutex mutex;
    EventListener *owner = nullptr;
    IEvents *events = nullptr;
    IEventCallback *callback = nullptr; // kept alive as long as its request
};

namespace {

class Callback final : public IEventCallbackImpl<Callback, ThrowStatusWrapper>
{
public:
    Callback(std::shared_ptr<EventShared> shared,
             std::function<void(std::vector<unsigned char>)> post)
        : m_shared(std::move(shared))
        , m_post(std::move(post))
    {}

    void addRef() override { ++m_refs; }
    int release() override
    {
        if (--m_refs == 0) {
            delete this;
            return 0;
        }
        return 1;
    }

    // Runs on the client library's thread. The lock only keeps the owner alive while
    // the block is posted to its thread; nothing under it calls into the library.
    void eventCallbackFunction(unsigned length, const ISC_UCHAR *events) override
    {
        // The remote client also calls back, with nothing, when a request ends.
        if (length == 0 || !events)
            return;
        std::vector<unsigned char> block(events, events + length);
        std::lock_guard lock(m_shared->mutex);
        if (m_shared->owner)
            m_post(std::move(block));
    }

private:
    std::atomic<int> m_refs{0};
    std::shared_ptr<EventShared> m_shared;
    std::function<void(std::vector<unsigned char>)> m_post;
};

// Count for each name, in the layout of an event parameter block.
std::vector<quint32> countsOf(const std::vector<unsigned char> &block, int names)
{
    std::vector<quint32> counts;
    size_t p = 1;
    for (int i = 0; i < names && p < block.size(); ++i) {
        const unsigned len = block[p];
        p += 1 + len;
        quint32 c = 0;
        if (p + 4 <= block.size())
            c = quint32(block[p]) | quint32(block[p + 1]) << 8 | quint32(block[p + 2]) << 16
                | quint32(block[p + 3]) << 24;
        counts.push_back(c);
        p += 4;
    }
    return counts;
}

} // namespace

EventListener::EventListener(Database *db, QObject *parent)
    : QObject(parent)
    , m_db(db)
{}

EventListener::~EventListener()
{
    unregisterEvents();
}

void EventListener::setEvents(const QStringList &names)
{
    if (names.size() > 15)
        throw Error::usage(QStringLiteral("A lo más 15 eventos por solicitud"));
    const bool was = isRegistered();
    unregisterEvents();
    m_names = names;
    if (was)
        registerEvents();
}

bool EventListener::isRegistered() const
{
    return m_shared != nullptr;
}

void EventListener::registerEvents()
{
    if (isRegistered() || m_names.isEmpty())
        return;
    if (!m_db || !m_db->isConnected())
        throw Error::usage(QStringLiteral("La base de datos no está conectada"));
    m_block.clear();
    m_block.push_back(1); // EPB_version1
    for (const QString &name : m_names) {
        const QByteArray b = toWin1252(name);
        m_block.push_back(static_cast<unsigned char>(b.size()));
        m_block.insert(m_block.end(), b.begin(), b.end());
        m_block.insert(m_block.end(), {0, 0, 0, 0});
    }
    m_shared = std::make_shared<EventShared>();
    m_shared->owner = this;
    m_first = true;
    queue();
}

namespace {

// Ends a request taken out of the shared state: outside the lock, because the remote
// client's release waits for its event thread, which may be inside our callback
// waiting for that lock.
void termina(IEvents *ev, IEventCallback *cb, bool cancelar)
{
    if (ev) {
        try {
            if (cancelar)
                detail::call([&](ThrowStatusWrapper *st) { ev->cancel(st); });
        } catch (const Error &) {
        }
        ev->release();
    }
    if (cb)
        cb->release();
}

} // namespace

void EventListener::queue()
{
    // The request that fired is over: end it before asking again. Posts in between
    // aren't lost, since the new request starts from the counts last seen.
    IEvents *anterior = nullptr;
    IEventCallback *cbAnterior = nullptr;
    {
        std::lock_guard lock(m_shared->mutex);
        std::swap(anterior, m_shared->events);
        std::swap(cbAnterior, m_shared->callback);
    }
    termina(anterior, cbAnterior, false);

    QPointer<EventListener> self(this);
    auto *cb = new Callback(m_shared, [self](std::vector<unsigned char> block) {
        QMetaObject::invokeMethod(
            self.data(),
            [self, block = std::move(block)] {
                if (self)
                    self->deliver(block);
            },
            Qt::QueuedConnection);
    });
    cb->addRef();
    IEvents *ev = nullptr;
    try {
        ev = detail::call([&](ThrowStatusWrapper *st) {
            return m_db->handle()->att->queEvents(st, cb, unsigned(m_block.size()), m_block.data());
        });
    } catch (...) {
        cb->release();
        throw;
    }
    std::lock_guard lock(m_shared->mutex);
    m_shared->events = ev;
    m_shared->callback = cb;
}

void EventListener::deliver(const std::vector<unsigned char> &block)
{
    if (!m_shared || block.size() != m_block.size())
        return;
    const std::vector<quint32> before = countsOf(m_block, int(m_names.size()));
    const std::vector<quint32> after = countsOf(block, int(m_names.size()));
    m_block = block;
    // The engine answers a new request at once with the counts it has; that first
    // answer is the starting point, not a delivery.
    const bool first = m_first;
    m_first = false;
    // This runs from the event loop: a failure here (a lost connection) must not
    // escape into it. The listener just stops hearing; the counts so far still count.
    try {
        if (m_db && m_db->isConnected())
            queue();
    } catch (const Error &) {
    }
    if (first)
        return;
    for (size_t i = 0; i < after.size() && i < before.size(); ++i) {
        if (after[i] > before[i])
            emit eventReceived(m_names[qsizetype(i)], int(after[i] - before[i]));
    }
}

void EventListener::unregisterEvents()
{
    if (!m_shared)
        return;
    IEvents *ev = nullptr;
    IEventCallback *cb = nullptr;
    {
        std::lock_guard lock(m_shared->mutex);
        m_shared->owner = nullptr;
        std::swap(ev, m_shared->events);
        std::swap(cb, m_shared->callback);
    }
    termina(ev, cb, m_db && m_db->isConnected());
    m_shared.reset();
}

} // namespace fb
