#include "cursor.h"

#include "fb/query.h"
#include "toolkit/memtable.h"

namespace lar::reporte {

CursorQuery::CursorQuery(fb::Database *db,
                         fb::Transaction *tr,
                         const QString &sql,
                         const QVariantHash &parametros)
    : m_query(std::make_unique<fb::Query>(db, tr))
    , m_parametros(parametros)
{
    m_query->setSql(sql);
    m_query->setTrimChars(true);
}

CursorQuery::~CursorQuery() = default;

void CursorQuery::abre()
{
    m_query->close();
    m_query->prepare();
    for (const QString &n : m_query->paramNames()) {
        if (n.isEmpty())
            continue;
        // Names compare as the engine does: case-insensitively.
        QVariant v;
        for (auto it = m_parametros.cbegin(); it != m_parametros.cend(); ++it) {
            if (it.key().compare(n, Qt::CaseInsensitive) == 0)
                v = it.value();
        }
        m_query->bind(n, v);
    }
    m_query->open();
    m_campos.clear();
    for (int i = 0; i < m_query->fieldCount(); ++i)
        m_campos << m_query->fieldName(i);
}

bool CursorQuery::eof() const
{
    return m_query->eof();
}

void CursorQuery::siguiente()
{
    m_query->next();
}

QStringList CursorQuery::campos() const
{
    return m_campos;
}

QVariant CursorQuery::valor(int campo) const
{
    const fb::Field f = m_query->field(campo);
    if (f.isNull())
        return {};
    if (m_query->fieldInfo(campo).kind == fb::FieldInfo::Kind::String)
        return f.toString();
    return f.toVariant();
}

CursorMemTable::CursorMemTable(MemTable *tabla)
    : m_tabla(tabla)
{}

void CursorMemTable::abre()
{
    m_tabla->first();
}

bool CursorMemTable::eof() const
{
    return m_tabla->eof();
}

void CursorMemTable::siguiente()
{
    m_tabla->next();
}

QStringList CursorMemTable::campos() const
{
    QStringList c;
    for (int i = 0; i < m_tabla->fieldCount(); ++i)
        c << m_tabla->fieldDef(i).name;
    return c;
}

QVariant CursorMemTable::valor(int campo) const
{
    const MemField f = m_tabla->field(campo);
    return f.isNull() ? QVariant() : f.value();
}

} // namespace lar::reporte
