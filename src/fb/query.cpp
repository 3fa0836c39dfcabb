#include "query.h"

#include "database.h"
#include "fbapi_p.h"
#include "sqltext.h"
#include "transaction.h"
#include "win1252.h"

#include <cmath>
#include <cstring>

using namespace Firebird;

namespace fb {

using detail::call;

namespace {

bool isIdentStart(QChar c)
{
    return c.isLetter() || c == u'_';
}

bool isIdentChar(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$';
}

// PSQL bodies and DDL use `:var` for their own variables: their text goes as is.
bool leavesColonsAlone(const QString &sql)
{
    qsizetype i = 0;
    const qsizetype n = sql.size();
    // Skip blanks and comments before the first word.
    while (i < n) {
        const SqlPiece p = sqlPieceAt(sql, i);
        if (p.isComment())
            i = p.end;
        else if (sql[i].isSpace())
            ++i;
        else
            break;
    }
    qsizetype j = i;
    while (j < n && sql[j].isLetter())
        ++j;
    const QString first = sql.mid(i, j - i).toUpper();
    if (first == u"CREATE" || first == u"ALTER" || first == u"RECREATE")
        return true;
    if (first == u"EXECUTE") {
        const QString rest = sql.mid(j).trimmed().left(5).toUpper();
        return rest == u"BLOCK";
    }
    return false;
}

struct Column
{
    unsigned type = 0;
    unsigned subType = 0;
    unsigned length = 0;
    unsigned offset = 0;
    unsigned nullOffset = 0;
    unsigned charSet = 0;
    int scale = 0;
    QString name;
};

unsigned baseType(unsigned t)
{
    return t & ~1u;
}

constexpr int kIscDateOffset = 2400001; // Julian day of 1858-11-17, the engine's day 0

QDate decodeDate(ISC_DATE d)
{
    return QDate::fromJulianDay(qint64(d) + kIscDateOffset);
}

QTime decodeTime(ISC_TIME t)
{
    return QTime::fromMSecsSinceStartOfDay(int(t / 10));
}

ISC_DATE encodeDate(const QDate &d)
{
    return ISC_DATE(d.toJulianDay() - kIscDateOffset);
}

ISC_TIME encodeTime(const QTime &t)
{
    return ISC_TIME(t.msecsSinceStartOfDay()) * 10;
}

constexpr qint64 kPow10[19] = {1LL,
                               10LL,
                               100LL,
                               1000LL,
                               10000LL,
                               100000LL,
                               1000000LL,
                               10000000LL,
                               100000000LL,
                               1000000000LL,
                               10000000000LL,
                               100000000000LL,
                               1000000000000LL,
                               10000000000000LL,
                               100000000000000LL,
                               1000000000000000LL,
                               10000000000000000LL,
                               100000000000000000LL,
                               1000000000000000000LL};

} // namespace

ParsedSql parseParams(const QString &sql)
{
    ParsedSql out;
    out.sql.reserve(sql.size());
    const qsizetype n = sql.size();
    qsizetype i = 0;
    while (i < n) {
        const QChar c = sql[i];
        const SqlPiece p = sqlPieceAt(sql, i);
        if (p.kind != SqlPiece::Code) {
            // Literals, quoted names and comments go as they are.
            out.sql += QStringView(sql).mid(i, p.end - i);
            i = p.end;
        } else if (c == u'?') {
            out.sql += u'?';
            out.names.append(QString());
            ++i;
        } else if (c == u':' && i + 1 < n && isIdentStart(sql[i + 1])) {
            qsizetype j = i + 1;
            while (j < n && isIdentChar(sql[j]))
                ++j;
            out.names.append(sql.mid(i + 1, j - i - 1).toUpper());
            out.sql += u'?';
            i = j;
        } else {
            out.sql += c;
            ++i;
        }
    }
    return out;
}

struct QueryState
{
    QueryState()
        : status(detail::master()->getStatus())
    {}
    ~QueryState()
    {
        releaseAll();
        status.dispose();
    }

    void releaseCursor()
    {
        if (cursor) {
            try {
                cursor->close(&status);
            } catch (const FbException &) {
                cursor->release();
            }
            cursor = nullptr;
        }
    }

    void releaseAll()
    {
        releaseCursor();
        if (inBuilt) {
            inBuilt->release();
            inBuilt = nullptr;
        }
        if (inMeta) {
            inMeta->release();
            inMeta = nullptr;
        }
        if (outMeta) {
            outMeta->release();
            outMeta = nullptr;
        }
        if (stmt) {
            try {
                stmt->free(&status);
            } catch (const FbException &) {
                stmt->release();
            }
            stmt = nullptr;
        }
        cols.clear();
        colIndex.clear();
        spelled.clear();
        inSig.clear();
        hasRow = false;
    }

    ThrowStatusWrapper status;
    IStatement *stmt = nullptr;
    unsigned stmtType = 0;
    ParsedSql parsed;
    IMessageMetadata *inMeta = nullptr;
    IMessageMetadata *inBuilt = nullptr;
    std::vector<unsigned char> inBuf;
    std::vector<qint64> inSig;
    IMessageMetadata *outMeta = nullptr;
    std::vector<unsigned char> outBuf;
    std::vector<Column> cols;
    QHash<QString, int> colIndex;
    // Names as callers spell them, resolved once: upper-casing or hashing the name
    // on every row costs more than the fetch itself. Callers pass the same literal
    // each time, so the data pointer usually matches before any character compare.
    struct Spelled
    {
        QString name;
        int index;
    };
    std::vector<Spelled> spelled;
    IResultSet *cursor = nullptr;
    bool hasRow = false;
};

Query::Query(Database *db, Transaction *tr)
    : m_state(std::make_unique<QueryState>())
{
    setDatabase(db);
    setTransaction(tr);
}

Query::~Query()
{
    close();
    unprepare();
    if (m_db)
        std::erase(m_db->m_queries, this);
}

void Query::setDatabase(Database *db)
{
    if (db == m_db)
        return;
    close();
    unprepare();
    if (m_db)
        std::erase(m_db->m_queries, this);
    m_db = db;
    if (m_db)
        m_db->m_queries.push_back(this);
}

void Query::setTransaction(Transaction *tr)
{
    if (tr == m_tr)
        return;
    close();
    m_tr = tr;
}

void Query::setSql(const QString &sql)
{
    if (sql == m_sql)
        return;
    close();
    unprepare();
    m_sql = sql;
}

void Query::addSql(const QString &line)
{
    setSql(m_sql.isEmpty() ? line : m_sql + u'\n' + line);
}

void Query::clearSql()
{
    setSql(QString());
}

void Query::setParamCheck(bool check)
{
    if (check == m_paramCheck)
        return;
    close();
    unprepare();
    m_paramCheck = check;
}

bool Query::isPrepared() const
{
    return m_state->stmt != nullptr;
}

void Query::unprepare()
{
    if (m_tr && m_state->cursor)
        std::erase(m_tr->m_openQueries, this);
    m_state->releaseAll();
    m_values.clear();
    m_eof = true;
}

void Query::prepare()
{
    if (isPrepared())
        return;
    if (!m_db || !m_db->isConnected())
        throw Error::usage(QStringLiteral("La base de datos no está conectada"));
    if (!m_tr)
        throw Error::usage(QStringLiteral("La consulta no tiene transacción"));
    m_tr->ensureActive();
    QueryState &s = *m_state;
    if (m_paramCheck && !leavesColonsAlone(m_sql))
        s.parsed = parseParams(m_sql);
    else
        s.parsed = ParsedSql{m_sql, {}};
    const QByteArray text = toWin1252(s.parsed.sql);
    try {
        s.stmt = m_db->handle()->att->prepare(&s.status,
                                              m_tr->handle()->tra,
                                              0,
                                              text.constData(),
                                              unsigned(m_db->dialect()),
                                              IStatement::PREPARE_PREFETCH_METADATA);
        s.stmtType = s.stmt->getType(&s.status);
        s.inMeta = s.stmt->getInputMetadata(&s.status);
        s.outMeta = s.stmt->getOutputMetadata(&s.status);
        const unsigned inCount = s.inMeta->getCount(&s.status);
        if (s.parsed.names.isEmpty() && inCount > 0)
            s.parsed.names = QStringList(qsizetype(inCount), QString());
        const unsigned outCount = s.outMeta->getCount(&s.status);
        s.cols.resize(outCount);
        for (unsigned i = 0; i < outCount; ++i) {
            Column &c = s.cols[i];
            c.type = baseType(s.outMeta->getType(&s.status, i));
            c.subType = unsigned(s.outMeta->getSubType(&s.status, i));
            c.length = s.outMeta->getLength(&s.status, i);
            c.scale = s.outMeta->getScale(&s.status, i);
            c.charSet = s.outMeta->getCharSet(&s.status, i);
            c.offset = s.outMeta->getOffset(&s.status, i);
            c.nullOffset = s.outMeta->getNullOffset(&s.status, i);
            c.name = fromWin1252(QByteArray(s.outMeta->getAlias(&s.status, i)));
            const QString key = c.name.toUpper();
            if (!s.colIndex.contains(key))
                s.colIndex.insert(key, int(i));
        }
        s.outBuf.assign(s.outMeta->getMessageLength(&s.status), 0);
    } catch (const FbException &e) {
        Error err = detail::makeError(e.getStatus());
        s.releaseAll();
        throw err;
    }
    m_values.assign(size_t(s.parsed.names.size()), QVariant());
}

void Query::ensurePrepared()
{
    if (!isPrepared())
        prepare();
}

int Query::paramCount() const
{
    return int(m_state->parsed.names.size());
}

QStringList Query::paramNames() const
{
    return m_state->parsed.names;
}

void Query::bind(const QString &name, const QVariant &value)
{
    ensurePrepared();
    const QString key = name.startsWith(u':') ? name.mid(1).toUpper() : name.toUpper();
    bool found = false;
    const QStringList &names = m_state->parsed.names;
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (names[i] == key) {
            m_values[size_t(i)] = value;
            found = true;
        }
    }
    if (!found)
        throw Error::usage(QStringLiteral("No existe el parámetro %1").arg(name));
}

void Query::bind(int index, const QVariant &value)
{
    ensurePrepared();
    if (index < 0 || size_t(index) >= m_values.size())
        throw Error::usage(QStringLiteral("No existe el parámetro %1").arg(index));
    m_values[size_t(index)] = value;
}

void Query::clearParams()
{
    for (QVariant &v : m_values)
        v = QVariant();
}

// Describes each parameter as the value we hold (a string as VARCHAR, a Decimal as
// a scaled BIGINT...) and lets the engine convert to the column's type, the way it
// converts literals. The message layout is rebuilt only when that shape changes.
void Query::buildInput()
{
    QueryState &s = *m_state;
    const unsigned count = unsigned(m_values.size());
    if (count == 0)
        return;
    struct Shape
    {
        unsigned type;
        unsigned length;
        int scale;
        unsigned subType;
        unsigned charSet;
    };
    std::vector<Shape> shapes(count);
    std::vector<QByteArray> bytes(count);
    std::vector<qint64> sig;
    sig.reserve(count * 3);
    for (unsigned i = 0; i < count; ++i) {
        const QVariant &v = m_values[i];
        const unsigned declared = baseType(s.inMeta->getType(&s.status, i));
        Shape sh{declared,
                 s.inMeta->getLength(&s.status, i),
                 s.inMeta->getScale(&s.status, i),
                 unsigned(s.inMeta->getSubType(&s.status, i)),
                 s.inMeta->getCharSet(&s.status, i)};
        if (v.isNull()) {
            // keep the declared shape
        } else if (declared == SQL_BLOB
                   && (v.typeId() == QMetaType::QString || v.typeId() == QMetaType::QByteArray)) {
            bytes[i] = v.typeId() == QMetaType::QString ? toWin1252(v.toString()) : v.toByteArray();
        } else {
            switch (v.typeId()) {
            case QMetaType::QString:
            case QMetaType::QByteArray: {
                bytes[i]
                    = v.typeId() == QMetaType::QString ? toWin1252(v.toString()) : v.toByteArray();
                unsigned len = 32;
                while (len < unsigned(bytes[i].size()))
                    len *= 2;
                sh = {SQL_VARYING, std::min(len, 32765u), 0, 0, 0};
                if (bytes[i].size() > 32765)
                    throw Error::usage(QStringLiteral("Texto demasiado largo para un parámetro"));
                break;
            }
            case QMetaType::Bool:
                sh = {SQL_BOOLEAN, 1, 0, 0, 0};
                break;
            case QMetaType::Int:
            case QMetaType::UInt:
            case QMetaType::Long:
            case QMetaType::LongLong:
            case QMetaType::Short:
            case QMetaType::UShort:
            case QMetaType::ULongLong:
                sh = {SQL_INT64, 8, 0, 0, 0};
                break;
            case QMetaType::Double:
            case QMetaType::Float:
                sh = {SQL_DOUBLE, 8, 0, 0, 0};
                break;
            case QMetaType::QDate:
                sh = {SQL_TYPE_DATE, 4, 0, 0, 0};
                break;
            case QMetaType::QTime:
                sh = {SQL_TYPE_TIME, 4, 0, 0, 0};
                break;
            case QMetaType::QDateTime:
                sh = {SQL_TIMESTAMP, 8, 0, 0, 0};
                break;
            default:
                if (v.metaType() == QMetaType::fromType<Decimal>()) {
                    sh = {SQL_INT64, 8, -v.value<Decimal>().scale(), 0, 0};
                    break;
                }
                throw Error::usage(QStringLiteral("Tipo de parámetro no admitido: %1")
                                       .arg(QString::fromLatin1(v.typeName())));
            }
        }
        shapes[i] = sh;
        sig.push_back(sh.type);
        sig.push_back(sh.length);
        sig.push_back(sh.scale);
    }

    if (sig != s.inSig || !s.inBuilt) {
        if (s.inBuilt) {
            s.inBuilt->release();
            s.inBuilt = nullptr;
        }
        IMetadataBuilder *b = s.inMeta->getBuilder(&s.status);
        try {
            for (unsigned i = 0; i < count; ++i) {
                b->setType(&s.status, i, shapes[i].type | 1);
                b->setSubType(&s.status, i, int(shapes[i].subType));
                b->setLength(&s.status, i, shapes[i].length);
                b->setScale(&s.status, i, shapes[i].scale);
                b->setCharSet(&s.status, i, shapes[i].charSet);
            }
            s.inBuilt = b->getMetadata(&s.status);
        } catch (...) {
            b->release();
            throw;
        }
        b->release();
        s.inBuf.assign(s.inBuilt->getMessageLength(&s.status), 0);
        s.inSig = sig;
    }

    unsigned char *buf = s.inBuf.data();
    for (unsigned i = 0; i < count; ++i) {
        const QVariant &v = m_values[i];
        const unsigned off = s.inBuilt->getOffset(&s.status, i);
        const unsigned nullOff = s.inBuilt->getNullOffset(&s.status, i);
        auto *nullFlag = reinterpret_cast<short *>(buf + nullOff);
        if (v.isNull()) {
            *nullFlag = -1;
            continue;
        }
        *nullFlag = 0;
        unsigned char *p = buf + off;
        switch (shapes[i].type) {
        case SQL_VARYING: {
            const QByteArray &b = bytes[i];
            const auto len = static_cast<unsigned short>(b.size());
            std::memcpy(p, &len, 2);
            std::memcpy(p + 2, b.constData(), len);
            break;
        }
        case SQL_BLOB: {
            ISC_QUAD id{};
            IBlob *blob
                = m_db->handle()->att->createBlob(&s.status, m_tr->handle()->tra, &id, 0, nullptr);
            const QByteArray &b = bytes[i];
            try {
                for (qsizetype pos = 0; pos < b.size(); pos += 32768) {
                    const qsizetype chunk = std::min<qsizetype>(32768, b.size() - pos);
                    blob->putSegment(&s.status, unsigned(chunk), b.constData() + pos);
                }
                blob->close(&s.status);
            } catch (...) {
                blob->release();
                throw;
            }
            std::memcpy(p, &id, sizeof id);
            break;
        }
        case SQL_BOOLEAN: {
            const FB_BOOLEAN b = v.toBool() ? FB_TRUE : FB_FALSE;
            std::memcpy(p, &b, 1);
            break;
        }
        case SQL_INT64: {
            const qint64 x = v.metaType() == QMetaType::fromType<Decimal>()
                                 ? v.value<Decimal>().unscaled()
                                 : v.toLongLong();
            std::memcpy(p, &x, 8);
            break;
        }
        case SQL_DOUBLE: {
            const double d = v.toDouble();
            std::memcpy(p, &d, 8);
            break;
        }
        case SQL_TYPE_DATE: {
            const ISC_DATE d = encodeDate(v.toDate());
            std::memcpy(p, &d, 4);
            break;
        }
        case SQL_TYPE_TIME: {
            const ISC_TIME t = encodeTime(v.toTime());
            std::memcpy(p, &t, 4);
            break;
        }
        case SQL_TIMESTAMP: {
            const QDateTime dt = v.toDateTime();
            ISC_TIMESTAMP ts{encodeDate(dt.date()), encodeTime(dt.time())};
            std::memcpy(p, &ts, 8);
            break;
        }
        default:
            throw Error::usage(QStringLiteral("Tipo de parámetro no admitido"));
        }
    }
}

void Query::open()
{
    close();
    ensurePrepared();
    m_tr->ensureActive();
    QueryState &s = *m_state;
    try {
        buildInput();
        IMessageMetadata *in = m_values.empty() ? nullptr : s.inBuilt;
        void *inBuf = m_values.empty() ? nullptr : s.inBuf.data();
        if (s.stmtType == isc_info_sql_stmt_select
            || s.stmtType == isc_info_sql_stmt_select_for_upd) {
            s.cursor = s.stmt->openCursor(&s.status, m_tr->handle()->tra, in, inBuf, s.outMeta, 0);
            m_tr->m_openQueries.push_back(this);
            s.hasRow = s.cursor->fetchNext(&s.status, s.outBuf.data()) == IStatus::RESULT_OK;
        } else {
            // EXECUTE PROCEDURE and INSERT ... RETURNING: one row of outputs.
            s.stmt->execute(&s.status, m_tr->handle()->tra, in, inBuf, s.outMeta, s.outBuf.data());
            s.hasRow = !s.cols.empty();
            m_rowsAffected = s.stmt->getAffectedRecords(&s.status);
        }
    } catch (const FbException &e) {
        Error err = detail::makeError(e.getStatus());
        close();
        throw err;
    }
    m_eof = !s.hasRow;
}

bool Query::next()
{
    QueryState &s = *m_state;
    if (!s.cursor) {
        s.hasRow = false;
        m_eof = true;
        return false;
    }
    try {
        s.hasRow = s.cursor->fetchNext(&s.status, s.outBuf.data()) == IStatus::RESULT_OK;
    } catch (const FbException &e) {
        Error err = detail::makeError(e.getStatus());
        close();
        throw err;
    }
    m_eof = !s.hasRow;
    return s.hasRow;
}

bool Query::isOpen() const
{
    return m_state->cursor != nullptr || m_state->hasRow;
}

void Query::close()
{
    QueryState &s = *m_state;
    if (s.cursor) {
        if (m_tr)
            std::erase(m_tr->m_openQueries, this);
        s.releaseCursor();
    }
    s.hasRow = false;
    m_eof = true;
}

qint64 Query::execute()
{
    close();
    ensurePrepared();
    m_tr->ensureActive();
    QueryState &s = *m_state;
    if (s.stmtType == isc_info_sql_stmt_select || s.stmtType == isc_info_sql_stmt_select_for_upd) {
        open();
        return 0;
    }
    try {
        buildInput();
        IMessageMetadata *in = m_values.empty() ? nullptr : s.inBuilt;
        void *inBuf = m_values.empty() ? nullptr : s.inBuf.data();
        const bool outputs = !s.cols.empty();
        s.stmt->execute(&s.status,
                        m_tr->handle()->tra,
                        in,
                        inBuf,
                        outputs ? s.outMeta : nullptr,
                        outputs ? s.outBuf.data() : nullptr);
        s.hasRow = outputs;
        m_eof = !outputs;
        m_rowsAffected = s.stmt->getAffectedRecords(&s.status);
    } catch (const FbException &e) {
        throw detail::makeError(e.getStatus());
    }
    if (m_autoCommit)
        m_tr->commitRetaining();
    return m_rowsAffected;
}

int Query::fieldCount() const
{
    return int(m_state->cols.size());
}

QString Query::fieldName(int index) const
{
    if (index < 0 || size_t(index) >= m_state->cols.size())
        throw Error::usage(QStringLiteral("No existe la columna %1").arg(index));
    return m_state->cols[size_t(index)].name;
}

FieldInfo Query::fieldInfo(int index) const
{
    if (index < 0 || size_t(index) >= m_state->cols.size())
        throw Error::usage(QStringLiteral("No existe la columna %1").arg(index));
    const Column &c = m_state->cols[size_t(index)];
    FieldInfo f;
    switch (c.type) {
    case SQL_TEXT:
    case SQL_VARYING:
        f.kind = FieldInfo::Kind::String;
        f.size = int(c.length);
        break;
    case SQL_SHORT:
    case SQL_LONG:
    case SQL_INT64:
        f.kind = c.scale == 0 ? FieldInfo::Kind::Integer : FieldInfo::Kind::Decimal;
        f.scale = -c.scale;
        break;
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
        f.kind = FieldInfo::Kind::Float;
        break;
    case SQL_TYPE_DATE:
        f.kind = FieldInfo::Kind::Date;
        break;
    case SQL_TYPE_TIME:
        f.kind = FieldInfo::Kind::Time;
        break;
    case SQL_TIMESTAMP:
        f.kind = FieldInfo::Kind::DateTime;
        break;
    case SQL_BOOLEAN:
        f.kind = FieldInfo::Kind::Boolean;
        break;
    case SQL_BLOB:
        f.kind = c.subType == 1 ? FieldInfo::Kind::Text : FieldInfo::Kind::Blob;
        break;
    default:
        f.kind = FieldInfo::Kind::String;
        f.size = int(c.length);
        break;
    }
    return f;
}

int Query::fieldIndex(const QString &name) const
{
    QueryState &s = *m_state;
    for (const QueryState::Spelled &e : s.spelled) {
        if (e.name.size() == name.size()
            && (e.name.constData() == name.constData() || e.name == name))
            return e.index;
    }
    const int index = s.colIndex.value(name.toUpper(), -1);
    if (index >= 0)
        s.spelled.push_back({name, index});
    return index;
}

Field Query::field(int index) const
{
    if (index < 0 || size_t(index) >= m_state->cols.size())
        throw Error::usage(QStringLiteral("No existe la columna %1").arg(index));
    return Field(this, index);
}

Field Query::field(const QString &name) const
{
    const int i = fieldIndex(name);
    if (i < 0)
        throw Error::usage(QStringLiteral("No existe la columna %1").arg(name));
    return Field(this, i);
}

void Query::checkRow(int) const
{
    if (!m_state->hasRow)
        throw Error::usage(QStringLiteral("La consulta no tiene un renglón actual"));
}

// --- Field -----------------------------------------------------------------

namespace {

struct Raw
{
    const Column *col;
    const unsigned char *data;
};

} // namespace

QString Field::name() const
{
    return m_query->fieldName(m_index);
}

bool Field::isNull() const
{
    m_query->checkRow(m_index);
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    short flag;
    std::memcpy(&flag, s.outBuf.data() + c.nullOffset, 2);
    return flag != 0;
}

QByteArray Field::toBytes() const
{
    if (isNull())
        return {};
    QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    switch (c.type) {
    case SQL_TEXT:
        return QByteArray(reinterpret_cast<const char *>(p), c.length);
    case SQL_VARYING: {
        unsigned short len;
        std::memcpy(&len, p, 2);
        return QByteArray(reinterpret_cast<const char *>(p + 2), len);
    }
    case SQL_BLOB: {
        ISC_QUAD id;
        std::memcpy(&id, p, sizeof id);
        QByteArray out;
        Transaction *tr = m_query->m_tr;
        if (!tr || !tr->isActive())
            throw Error::usage(QStringLiteral("La transacción del blob ya terminó"));
        try {
            IBlob *blob = m_query->m_db->handle()->att->openBlob(
                &s.status, tr->handle()->tra, &id, 0, nullptr);
            char chunk[32768];
            for (;;) {
                unsigned got = 0;
                const int rc = blob->getSegment(&s.status, sizeof chunk, chunk, &got);
                if (rc == IStatus::RESULT_OK || rc == IStatus::RESULT_SEGMENT)
                    out.append(chunk, got);
                else
                    break;
            }
            blob->close(&s.status);
        } catch (const FbException &e) {
            throw detail::makeError(e.getStatus());
        }
        return out;
    }
    default:
        return toString().toLatin1();
    }
}

QVariant Field::toVariant() const
{
    if (isNull())
        return {};
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    switch (c.type) {
    case SQL_TEXT:
    case SQL_VARYING:
        return toString();
    case SQL_SHORT:
    case SQL_LONG:
        if (c.scale == 0)
            return toInt();
        return QVariant::fromValue(toDecimal());
    case SQL_INT64:
        if (c.scale == 0)
            return toInt64();
        return QVariant::fromValue(toDecimal());
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
        return toDouble();
    case SQL_TYPE_DATE:
        return toDate();
    case SQL_TYPE_TIME:
        return toTime();
    case SQL_TIMESTAMP:
        return toDateTime();
    case SQL_BOOLEAN:
        return toBool();
    case SQL_BLOB:
        if (c.subType == 1)
            return toString();
        return toBytes();
    default:
        Q_UNUSED(p);
        return toString();
    }
}

QString Field::toString() const
{
    if (isNull())
        return {};
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    switch (c.type) {
    case SQL_TEXT: {
        unsigned len = c.length;
        if (m_query->m_trimChars) {
            while (len > 0 && p[len - 1] == ' ')
                --len;
        }
        return fromWin1252(reinterpret_cast<const char *>(p), len);
    }
    case SQL_VARYING: {
        unsigned short len;
        std::memcpy(&len, p, 2);
        return fromWin1252(reinterpret_cast<const char *>(p + 2), len);
    }
    case SQL_BLOB:
        return fromWin1252(toBytes());
    case SQL_SHORT:
    case SQL_LONG:
    case SQL_INT64:
        return c.scale == 0 ? QString::number(toInt64()) : toDecimal().toString();
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
        return QString::number(toDouble(), 'g', 15);
    case SQL_TYPE_DATE:
        return toDate().toString(Qt::ISODate);
    case SQL_TYPE_TIME:
        return toTime().toString(Qt::ISODateWithMs);
    case SQL_TIMESTAMP:
        return toDateTime().toString(Qt::ISODateWithMs);
    case SQL_BOOLEAN:
        return toBool() ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
    default:
        throw Error::usage(QStringLiteral("Tipo de columna no admitido en %1").arg(c.name));
    }
}

QString Field::toTrimmed() const
{
    QString s = toString();
    qsizetype n = s.size();
    while (n > 0 && s[n - 1] == u' ')
        --n;
    s.truncate(n);
    return s;
}

qint64 Field::toInt64() const
{
    if (isNull())
        return 0;
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    qint64 v = 0;
    switch (c.type) {
    case SQL_SHORT: {
        short x;
        std::memcpy(&x, p, 2);
        v = x;
        break;
    }
    case SQL_LONG: {
        ISC_LONG x;
        std::memcpy(&x, p, 4);
        v = x;
        break;
    }
    case SQL_INT64:
        std::memcpy(&v, p, 8);
        break;
    case SQL_BOOLEAN:
        return toBool() ? 1 : 0;
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
        return qint64(std::llround(toDouble()));
    default: {
        const std::optional<Decimal> d = Decimal::fromString(toTrimmed());
        if (!d)
            throw Error(QStringLiteral("El valor de %1 no es un número").arg(c.name),
                        isc::ConversionError);
        return d->rescaled(0).unscaled();
    }
    }
    if (c.scale < 0)
        return Decimal(v, -c.scale).rescaled(0).unscaled();
    return v;
}

int Field::toInt() const
{
    return int(toInt64());
}

Decimal Field::toDecimal() const
{
    if (isNull())
        return {};
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    switch (c.type) {
    case SQL_SHORT:
    case SQL_LONG:
    case SQL_INT64: {
        qint64 v = 0;
        if (c.type == SQL_SHORT) {
            short x;
            std::memcpy(&x, p, 2);
            v = x;
        } else if (c.type == SQL_LONG) {
            ISC_LONG x;
            std::memcpy(&x, p, 4);
            v = x;
        } else {
            std::memcpy(&v, p, 8);
        }
        return Decimal(v, -c.scale);
    }
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_D_FLOAT:
        return Decimal::fromDouble(toDouble(), 6);
    default: {
        const std::optional<Decimal> d = Decimal::fromString(toTrimmed());
        if (!d)
            throw Error(QStringLiteral("El valor de %1 no es un número").arg(c.name),
                        isc::ConversionError);
        return *d;
    }
    }
}

double Field::toDouble() const
{
    if (isNull())
        return 0;
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    switch (c.type) {
    case SQL_FLOAT: {
        float f;
        std::memcpy(&f, p, 4);
        return f;
    }
    case SQL_DOUBLE:
    case SQL_D_FLOAT: {
        double d;
        std::memcpy(&d, p, 8);
        return d;
    }
    case SQL_SHORT:
    case SQL_LONG:
    case SQL_INT64:
        return toDecimal().toDouble();
    default:
        return toDecimal().toDouble();
    }
}

QDate Field::toDate() const
{
    if (isNull())
        return {};
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    if (c.type == SQL_TYPE_DATE) {
        ISC_DATE d;
        std::memcpy(&d, p, 4);
        return decodeDate(d);
    }
    if (c.type == SQL_TIMESTAMP) {
        // Straight from the stamp: a local date-time would look up the time zone.
        ISC_TIMESTAMP ts;
        std::memcpy(&ts, p, 8);
        return decodeDate(ts.timestamp_date);
    }
    return QDate::fromString(toTrimmed(), Qt::ISODate);
}

QTime Field::toTime() const
{
    if (isNull())
        return {};
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    if (c.type == SQL_TYPE_TIME) {
        ISC_TIME t;
        std::memcpy(&t, p, 4);
        return decodeTime(t);
    }
    if (c.type == SQL_TIMESTAMP) {
        ISC_TIMESTAMP ts;
        std::memcpy(&ts, p, 8);
        return decodeTime(ts.timestamp_time);
    }
    return QTime::fromString(toTrimmed(), Qt::ISODateWithMs);
}

QDateTime Field::toDateTime() const
{
    if (isNull())
        return {};
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    if (c.type == SQL_TIMESTAMP) {
        ISC_TIMESTAMP ts;
        std::memcpy(&ts, p, 8);
        return QDateTime(decodeDate(ts.timestamp_date), decodeTime(ts.timestamp_time));
    }
    if (c.type == SQL_TYPE_DATE)
        return QDateTime(toDate(), QTime(0, 0));
    return QDateTime::fromString(toTrimmed(), Qt::ISODateWithMs);
}

QDateTime Field::toWallDateTime() const
{
    if (isNull())
        return {};
    const QTime hora = toTime(); // none in a DATE column
    return QDateTime(toDate(), hora.isValid() ? hora : QTime(0, 0), Qt::UTC);
}

bool Field::toBool() const
{
    if (isNull())
        return false;
    const QueryState &s = *m_query->m_state;
    const Column &c = s.cols[size_t(m_index)];
    const unsigned char *p = s.outBuf.data() + c.offset;
    if (c.type == SQL_BOOLEAN)
        return *p != 0;
    if (c.type == SQL_TEXT || c.type == SQL_VARYING) {
        const QString t = toTrimmed().toUpper();
        return t == u"S" || t == u"T" || t == u"TRUE" || t == u"1";
    }
    return toInt64() != 0;
}

} // namespace fb
