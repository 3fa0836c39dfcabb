#include "sesion.h"

#include <QCoreApplication>

namespace lar {

Sesion::Sesion()
    : m_query(std::make_unique<fb::Query>(&m_fbDatabase, &m_fbUpdateTrans))
    , m_qUpdate(std::make_unique<fb::Query>(&m_fbDatabase, &m_fbUpdateTrans))
    , m_queryAux(std::make_unique<fb::Query>(&m_fbDatabase, &m_fbUpdateTrans))
    , m_query1(std::make_unique<fb::Query>(&m_fbDatabase, &m_fbUpdateTrans))
    , m_queryM(std::make_unique<fb::Query>(&m_fbMetadatos, &m_fbMetaTrans))
    , m_nombrePrograma(qEnvironmentVariable("LARVENOS_NOMBRE", QStringLiteral("Puntos Larvenos")))
    , m_administrador(qEnvironmentVariable("LARVENOS_ADMINISTRADOR", QStringLiteral("SYSDBA")))
{
    m_qReg = creaQuery(false, QStringLiteral("qReg"));
    m_qRegUpd = creaQuery(false, QStringLiteral("qRegUpd"));
    for (fb::Query *q : {m_qReg, m_qRegUpd}) {
        q->setTransaction(&m_fbRegTrans);
        q->setAutoCommit(false);
    }
    m_qQuery = creaQuery(false, QStringLiteral("qQuery"));
    terminaAplicacion = [] {
        // Queued, so that it also ends a loop that isn't running yet.
        if (QCoreApplication *app = QCoreApplication::instance())
            QMetaObject::invokeMethod(
                app, [] { QCoreApplication::exit(0); }, Qt::QueuedConnection);
    };
}

Sesion::~Sesion()
{
    desconecta();
}

fb::Query *Sesion::creaQuery(bool lectura, const QString &nombre, fb::Database *base)
{
    fb::Database *db = base ? base : &m_fbDatabase;
    fb::Transaction *tr = nullptr;
    if (db == &m_fbDatabase)
        tr = lectura ? &m_fbViewTrans : &m_fbUpdateTrans;
    else if (db == &m_fbConfig)
        tr = &m_fbConfigTrans;
    else if (db == &m_fbMetadatos)
        tr = &m_fbMetaTrans;
    auto q = std::make_unique<fb::Query>(db, tr);
    q->setTrimChars(lectura);
    q->setAutoCommit(!lectura);
    fb::Query *raw = q.get();
    m_consultas.push_back({nombre, std::move(q)});
    return raw;
}

fb::Query *Sesion::consulta(const QString &nombre) const
{
    for (const Consulta &c : m_consultas) {
        if (c.nombre.compare(nombre, Qt::CaseInsensitive) == 0)
            return c.query.get();
    }
    return nullptr;
}

void Sesion::TransInicia()
{
    if (!m_fbUpdateTrans.isActive())
        m_fbUpdateTrans.start();
    if (!m_fbViewTrans.isActive())
        m_fbViewTrans.start();
}

void Sesion::UpdateCommit()
{
    if (m_fbUpdateTrans.isActive())
        m_fbUpdateTrans.commit();
}

void Sesion::UpdateRollback()
{
    if (m_fbUpdateTrans.isActive())
        m_fbUpdateTrans.rollback();
}

void Sesion::ConfigInicia()
{
    if (!m_fbConfigTrans.isActive())
        m_fbConfigTrans.start();
}

void Sesion::ConfigCommit()
{
    if (m_fbConfigTrans.isActive())
        m_fbConfigTrans.commit();
}

void Sesion::ConfigRollback()
{
    if (m_fbConfigTrans.isActive())
        m_fbConfigTrans.rollback();
}

void Sesion::desconecta()
{
    // The next attachment may be another company, of another Microsip version.
    ObjetosCache.clear();
    fb::Database *const bases[] = {&m_fbDatabase, &m_fbConfig, &m_fbMetadatos};
    for (fb::Database *db : bases) {
        try {
            db->disconnect();
        } catch (const fb::Error &) {
        }
    }
}

} // namespace lar
