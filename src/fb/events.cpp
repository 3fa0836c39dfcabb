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

struct EventShared
{
    std::mutex mutex;
    EventListener *owner = nullptr;
    IEvents *events = nullptr;
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

    void eventCallbackFunction(unsigned length, const ISC_UCHAR *events) override
    {
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

void EventListener::queue()
{
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
    try {
        IEvents *ev = detail::call([&](ThrowStatusWrapper *st) {
            return m_db->handle()->att->queEvents(st, cb, unsigned(m_block.size()), m_block.data());
        });
        std::lock_guard lock(m_shared->mutex);
        if (m_shared->events)
            m_shared->events->release();
        m_shared->events = ev;
    } catch (...) {
        cb->release();
        throw;
    }
    cb->release();
}

void EventListener::deliver(const std::vector<unsigned char> &block)
{
    if (!m_shared)
        return;
    const std::vector<quint32> before = countsOf(m_block, int(m_names.size()));
    const std::vector<quint32> after = countsOf(block, int(m_names.size()));
    m_block = block;
    // The engine answers a new request at once with the counts it has; that first
    // answer is the starting point, not a delivery.
    const bool first = m_first;
    m_first = false;
    if (m_db && m_db->isConnected())
        queue();
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
    {
        std::lock_guard lock(m_shared->mutex);
        m_shared->owner = nullptr;
        ev = m_shared->events;
        m_shared->events = nullptr;
    }
    if (ev) {
        try {
            if (m_db && m_db->isConnected())
                detail::call([&](ThrowStatusWrapper *st) { ev->cancel(st); });
            else
                ev->release();
        } catch (const Error &) {
            ev->release();
        }
    }
    m_shared.reset();
}

} // namespace fb
