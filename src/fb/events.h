#pragma once

#include <QObject>
#include <QStringList>

#include <memory>

namespace fb {

class Database;
struct EventShared;

// Listens for POST_EVENT names on an attachment. The engine calls back on a thread
// of its own; the names arrive here on the thread that owns the listener, through
// eventReceived, once per delivery with how many times each was posted.
class EventListener : public QObject
{
    Q_OBJECT
public:
    explicit EventListener(Database *db, QObject *parent = nullptr);
    ~EventListener() override;

    // At most 15 names, the engine's limit for one request.
    void setEvents(const QStringList &names);
    const QStringList &events() const { return m_names; }
    void registerEvents();
    void unregisterEvents();
    bool isRegistered() const;
    // Registered and the engine's first answer (the starting counts) taken: posts
    // from now on are reported. Posts before it count toward that starting point.
    bool isListening() const { return isRegistered() && !m_first; }

signals:
    void eventReceived(const QString &name, int count);

private:
    void deliver(const std::vector<unsigned char> &block);
    void queue();

    Database *m_db;
    QStringList m_names;
    std::vector<unsigned char> m_block; // the counts last seen
    std::shared_ptr<EventShared> m_shared;
    bool m_first = true;
};

} // namespace fb
