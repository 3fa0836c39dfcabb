#include "memsql.h"

#include "fb/sqltext.h"

#include <algorithm>
#include <limits>

namespace lar {

MemSqlError::MemSqlError(QString message)
    : m_message(std::move(message))
    , m_what(m_message.toUtf8())
{}

namespace {

// --- Tokens ---------------------------------------------------------------------------

struct Token
{
    enum Kind { Ident, Quoted, String, Number, Symbol, End };
    Kind kind = End;
    QString text; // identifiers upper-cased keep their spelling in `raw`
    QString raw;
    int pos = 0; // 1-based column in the statement
};

[[noreturn]] void fail(const QString &what, int pos)
{
    throw MemSqlError(
        QStringLiteral("Error en la consulta en memoria: %1 (posición %2)").arg(what).arg(pos));
}

QList<Token> tokenize(const QString &sql)
{
    QList<Token> out;
    const qsizetype n = sql.size();
    qsizetype i = 0;
    while (i < n) {
        const QChar c = sql[i];
        const fb::SqlPiece p = fb::sqlPieceAt(sql, i);
        if (c.isSpace() || p.isComment()) {
            i = p.end;
            continue;
        }
        Token t;
        t.pos = int(i) + 1;
        if (c.isLetter() || c == u'_') {
            qsizetype j = i;
            while (j < n && (sql[j].isLetterOrNumber() || sql[j] == u'_' || sql[j] == u'$'))
                ++j;
            t.kind = Token::Ident;
            t.raw = sql.mid(i, j - i);
            t.text = t.raw.toUpper();
            i = j;
        } else if (c.isDigit() || (c == u'.' && i + 1 < n && sql[i + 1].isDigit())) {
            qsizetype j = i;
            bool point = false;
            while (j < n && (sql[j].isDigit() || (sql[j] == u'.' && !point))) {
                point = point || sql[j] == u'.';
                ++j;
            }
            if (j < n && (sql[j].isLetter() || sql[j] == u'_'))
                fail(QStringLiteral("número mal escrito '%1'").arg(sql.mid(i, j - i + 1)), t.pos);
            t.kind = Token::Number;
            t.text = sql.mid(i, j - i);
            i = j;
        } else if (p.kind != fb::SqlPiece::Code) {
            if (!p.closed)
                fail(c == u'\'' ? QStringLiteral("falta la comilla que cierra el texto")
                                : QStringLiteral("falta la comilla que cierra el nombre"),
                     t.pos);
            const QString s = p.unquoted(sql);
            t.kind = c == u'\'' ? Token::String : Token::Quoted;
            t.text = c == u'\'' ? s : s.toUpper();
            t.raw = s;
            i = p.end;
        } else {
            static const QStringList two{QStringLiteral("<>"),
                                         QStringLiteral("!="),
                                         QStringLiteral("<="),
                                         QStringLiteral(">=")};
            const QString pair = sql.mid(i, 2);
            if (two.contains(pair)) {
                t.text = pair;
                i += 2;
            } else if (QStringLiteral(",()*=<>;-").contains(c)) {
                t.text = c;
                ++i;
            } else {
                fail(QStringLiteral("carácter no admitido '%1'").arg(c), t.pos);
            }
            t.kind = Token::Symbol;
        }
        out << t;
    }
    Token end;
    end.kind = Token::End;
    end.pos = int(n) + 1;
    out << end;
    return out;
}

// --- Syntax -------------------------------------------------------------------------------

struct Operand
{
    enum Kind { Column, String, Number };
    Kind kind = Number;
    int field = -1;
    QString text;
    fb::Decimal number;
};

struct Cond
{
    enum Kind { Or, And, Compare };
    Kind kind = Compare;
    std::unique_ptr<Cond> left, right;
    QString op;
    Operand a, b;
    int pos = 0;
};

struct Item
{
    enum Kind { Column, Sum, Count, CountAll, Min, Max };
    Kind kind = Column;
    int field = -1;
    QString name;
};

struct OrderItem
{
    int field = -1;
    bool descending = false;
};

struct Statement
{
    MemTable *table = nullptr;
    bool star = false;
    std::vector<Item> items;
    std::unique_ptr<Cond> where;
    std::vector<OrderItem> order;
};

class Parser
{
public:
    Parser(const QString &sql, const QHash<QString, QPointer<MemTable>> &tables)
        : m_tokens(tokenize(sql))
        , m_tables(tables)
    {}

    Statement parse()
    {
        Statement st;
        expectWord(QStringLiteral("SELECT"));
        if (isWord(QStringLiteral("DISTINCT")) || isWord(QStringLiteral("FIRST"))
            || isWord(QStringLiteral("SKIP")))
            unsupported();
        // The select list names fields of a table not yet known: keep its tokens.
        const int listStart = m_at;
        int depth = 0;
        while (peek().kind != Token::End && !(depth == 0 && isWord(QStringLiteral("FROM")))) {
            if (isSymbol(u"("))
                ++depth;
            else if (isSymbol(u")"))
                --depth;
            ++m_at;
        }
        const int listEnd = m_at;
        expectWord(QStringLiteral("FROM"));
        const Token &t = peek();
        if (t.kind != Token::Ident && t.kind != Token::Quoted)
            expected(QStringLiteral("el nombre de una tabla"));
        m_table = m_tables.value(t.text);
        if (!m_table)
            fail(QStringLiteral("la tabla %1 no está registrada").arg(t.raw), t.pos);
        m_tableName = t.raw;
        st.table = m_table;
        ++m_at;
        // An alias of the table is not part of this SQL.
        const int afterFrom = m_at;

        m_at = listStart;
        parseSelectList(st, listEnd);
        m_at = afterFrom;

        if (isWord(QStringLiteral("WHERE"))) {
            ++m_at;
            st.where = parseOr();
        }
        if (isWord(QStringLiteral("ORDER"))) {
            ++m_at;
            expectWord(QStringLiteral("BY"));
            for (;;) {
                OrderItem o;
                const Token &c = peek();
                if (c.kind == Token::Number) {
                    // By position in the select list.
                    const int n = c.text.toInt();
                    if (st.star ? (n < 1 || n > m_table->fieldCount())
                                : (n < 1 || size_t(n) > st.items.size()
                                   || st.items[size_t(n - 1)].kind != Item::Column))
                        fail(QStringLiteral("ORDER BY %1 no corresponde a una columna").arg(c.text),
                             c.pos);
                    o.field = st.star ? n - 1 : st.items[size_t(n - 1)].field;
                    ++m_at;
                } else {
                    o.field = parseColumn();
                }
                if (isWord(QStringLiteral("DESC")) || isWord(QStringLiteral("DESCENDING"))) {
                    o.descending = true;
                    ++m_at;
                } else if (isWord(QStringLiteral("ASC")) || isWord(QStringLiteral("ASCENDING"))) {
                    ++m_at;
                }
                st.order.push_back(o);
                if (!isSymbol(u","))
                    break;
                ++m_at;
            }
        }
        if (isSymbol(u";"))
            ++m_at;
        if (peek().kind != Token::End)
            unsupported();
        return st;
    }

private:
    const Token &peek() const { return m_tokens[m_at]; }
    bool isWord(const QString &w) const { return peek().kind == Token::Ident && peek().text == w; }
    bool isSymbol(QStringView s) const { return peek().kind == Token::Symbol && peek().text == s; }

    [[noreturn]] void expected(const QString &what) const
    {
        const Token &t = peek();
        if (t.kind == Token::End)
            fail(QStringLiteral("se esperaba %1 y terminó la consulta").arg(what), t.pos);
        fail(QStringLiteral("se esperaba %1 y se encontró '%2'")
                 .arg(what,
                      t.kind == Token::String ? u'\'' + t.raw + u'\''
                                              : (t.raw.isEmpty() ? t.text : t.raw)),
             t.pos);
    }
    [[noreturn]] void unsupported() const
    {
        const Token &t = peek();
        fail(QStringLiteral("no se admite '%1' (sólo SELECT de columnas, sum, count, min o max "
                            "FROM una tabla, WHERE y ORDER BY)")
                 .arg(t.raw.isEmpty() ? t.text : t.raw),
             t.pos);
    }
    void expectWord(const QString &w)
    {
        if (!isWord(w))
            expected(w);
        ++m_at;
    }
    void expectSymbol(QStringView s)
    {
        if (!isSymbol(s))
            expected(u'\'' + s.toString() + u'\'');
        ++m_at;
    }

    int parseColumn()
    {
        const Token &t = peek();
        if (t.kind != Token::Ident && t.kind != Token::Quoted)
            expected(QStringLiteral("el nombre de un campo"));
        if (t.kind == Token::Ident && isReserved(t.text))
            expected(QStringLiteral("el nombre de un campo"));
        const int f = m_table->fieldIndex(t.kind == Token::Quoted ? t.raw : t.text);
        if (f < 0)
            fail(QStringLiteral("no existe el campo %1 en la tabla %2").arg(t.raw, m_tableName),
                 t.pos);
        ++m_at;
        return f;
    }

    static bool isReserved(const QString &w)
    {
        static const QStringList words{QStringLiteral("SELECT"),
                                       QStringLiteral("FROM"),
                                       QStringLiteral("WHERE"),
                                       QStringLiteral("AND"),
                                       QStringLiteral("OR"),
                                       QStringLiteral("ORDER"),
                                       QStringLiteral("BY"),
                                       QStringLiteral("AS"),
                                       QStringLiteral("NOT"),
                                       QStringLiteral("NULL"),
                                       QStringLiteral("IS"),
                                       QStringLiteral("LIKE"),
                                       QStringLiteral("IN"),
                                       QStringLiteral("GROUP"),
                                       QStringLiteral("HAVING"),
                                       QStringLiteral("BETWEEN")};
        return words.contains(w);
    }

    void parseSelectList(Statement &st, int end)
    {
        if (isSymbol(u"*")) {
            ++m_at;
            st.star = true;
            if (m_at != end)
                unsupported();
            return;
        }
        for (;;) {
            Item item;
            const Token &t = peek();
            static const QHash<QString, Item::Kind> aggregates{
                {QStringLiteral("SUM"), Item::Sum},
                {QStringLiteral("COUNT"), Item::Count},
                {QStringLiteral("MIN"), Item::Min},
                {QStringLiteral("MAX"), Item::Max}};
            if (t.kind == Token::Ident && m_tokens[m_at + 1].kind == Token::Symbol
                && m_tokens[m_at + 1].text == u"(") {
                if (!aggregates.contains(t.text))
                    fail(QStringLiteral("no se admite la función %1 (sólo sum, count, min y max)")
                             .arg(t.raw),
                         t.pos);
                item.kind = aggregates.value(t.text);
                item.name = t.text;
                m_at += 2;
                if (item.kind == Item::Count && isSymbol(u"*")) {
                    item.kind = Item::CountAll;
                    ++m_at;
                } else {
                    if (isWord(QStringLiteral("DISTINCT")) || isWord(QStringLiteral("ALL")))
                        unsupported();
                    item.field = parseColumn();
                    if (item.kind == Item::Sum && !m_table->fieldDef(item.field).isNumeric())
                        fail(QStringLiteral("sum necesita un campo numérico y %1 no lo es")
                                 .arg(m_table->fieldDef(item.field).name),
                             t.pos);
                }
                expectSymbol(u")");
            } else {
                item.kind = Item::Column;
                item.field = parseColumn();
                item.name = m_table->fieldDef(item.field).name;
            }
            if (isWord(QStringLiteral("AS"))) {
                ++m_at;
                if (peek().kind != Token::Ident && peek().kind != Token::Quoted)
                    expected(QStringLiteral("un alias"));
                item.name = peek().raw;
                ++m_at;
            } else if ((peek().kind == Token::Ident && !isReserved(peek().text))
                       || peek().kind == Token::Quoted) {
                item.name = peek().raw;
                ++m_at;
            }
            st.items.push_back(item);
            if (m_at == end)
                break;
            if (!isSymbol(u","))
                expected(QStringLiteral("',' o FROM"));
            ++m_at;
        }
        const bool anyAggregate = std::any_of(
            st.items.begin(), st.items.end(), [](const Item &i) { return i.kind != Item::Column; });
        const bool anyColumn = std::any_of(
            st.items.begin(), st.items.end(), [](const Item &i) { return i.kind == Item::Column; });
        if (anyAggregate && anyColumn)
            fail(QStringLiteral(
                     "no se pueden mezclar campos con sum, count, min o max (no hay GROUP BY)"),
                 m_tokens[0].pos);
    }

    std::unique_ptr<Cond> parseOr()
    {
        auto left = parseAnd();
        while (isWord(QStringLiteral("OR"))) {
            ++m_at;
            auto c = std::make_unique<Cond>();
            c->kind = Cond::Or;
            c->left = std::move(left);
            c->right = parseAnd();
            left = std::move(c);
        }
        return left;
    }

    std::unique_ptr<Cond> parseAnd()
    {
        auto left = parsePrimary();
        while (isWord(QStringLiteral("AND"))) {
            ++m_at;
            auto c = std::make_unique<Cond>();
            c->kind = Cond::And;
            c->left = std::move(left);
            c->right = parsePrimary();
            left = std::move(c);
        }
        return left;
    }

    std::unique_ptr<Cond> parsePrimary()
    {
        if (isSymbol(u"(")) {
            ++m_at;
            auto c = parseOr();
            expectSymbol(u")");
            return c;
        }
        auto c = std::make_unique<Cond>();
        c->kind = Cond::Compare;
        c->pos = peek().pos;
        c->a = parseOperand();
        static const QStringList ops{QStringLiteral("="),
                                     QStringLiteral("<>"),
                                     QStringLiteral("!="),
                                     QStringLiteral("<"),
                                     QStringLiteral(">"),
                                     QStringLiteral("<="),
                                     QStringLiteral(">=")};
        if (peek().kind != Token::Symbol || !ops.contains(peek().text))
            expected(QStringLiteral("un operador de comparación (=, <>, <, >, <=, >=)"));
        c->op = peek().text == u"!=" ? QStringLiteral("<>") : peek().text;
        ++m_at;
        c->b = parseOperand();
        return c;
    }

    Operand parseOperand()
    {
        Operand o;
        const Token &t = peek();
        if (t.kind == Token::String) {
            o.kind = Operand::String;
            o.text = t.raw;
            ++m_at;
        } else if (t.kind == Token::Number
                   || (isSymbol(u"-") && m_tokens[m_at + 1].kind == Token::Number)) {
            const bool negative = isSymbol(u"-");
            if (negative)
                ++m_at;
            const Token &num = peek();
            const auto d = fb::Decimal::fromString(num.text);
            if (!d)
                fail(QStringLiteral("número fuera de rango '%1'").arg(num.text), num.pos);
            o.kind = Operand::Number;
            o.number = negative ? fb::Decimal(-d->unscaled(), d->scale()) : *d;
            o.text = (negative ? QStringLiteral("-") : QString()) + num.text;
            ++m_at;
        } else {
            o.kind = Operand::Column;
            o.field = parseColumn();
        }
        return o;
    }

    QList<Token> m_tokens;
    const QHash<QString, QPointer<MemTable>> &m_tables;
    MemTable *m_table = nullptr;
    QString m_tableName;
    int m_at = 0;
};

// --- Evaluation ----------------------------------------------------------------------------------

fb::Decimal add(const fb::Decimal &a, const fb::Decimal &b)
{
    return a + b; // checked: an overflowing sum is an error, not a wrapped number
}

// A value as the comparison sees it: a number (exact), a text, or something else
// compared through its field's type.
struct Value
{
    enum Kind { Null, Number, Text, Other };
    Kind kind = Null;
    fb::Decimal number;
    double real = 0;
    bool isReal = false;
    QString text;
    QVariant other;
    FieldType type = FieldType::String;
};

Value columnValue(MemTable &t, int row, int field)
{
    Value v;
    const QVariant &x = t.valueAt(row, field);
    if (x.isNull())
        return v;
    const FieldDef &d = t.fieldDef(field);
    v.type = d.type;
    switch (d.type) {
    case FieldType::Integer:
        v.kind = Value::Number;
        v.number = fb::Decimal(x.toLongLong(), 0);
        break;
    case FieldType::Currency:
        v.kind = Value::Number;
        v.number = x.value<fb::Decimal>();
        break;
    case FieldType::Float:
        v.kind = Value::Number;
        v.real = x.toDouble();
        v.isReal = true;
        break;
    case FieldType::Boolean:
        v.kind = Value::Number;
        v.number = fb::Decimal(x.toBool() ? 1 : 0, 0);
        break;
    case FieldType::String:
        v.kind = Value::Text;
        v.text = x.toString();
        break;
    case FieldType::Date:
    case FieldType::DateTime:
        v.kind = Value::Other;
        v.other = d.type == FieldType::Date ? QVariant(x.toDate().startOfDay()) : x;
        break;
    }
    return v;
}

Value literalValue(const Operand &o)
{
    Value v;
    if (o.kind == Operand::Number) {
        v.kind = Value::Number;
        v.number = o.number;
    } else {
        v.kind = Value::Text;
        v.text = o.text;
    }
    return v;
}

// Text taken as a number, or as a date when compared with a date.
Value coerce(const Value &text, const Value &other, int pos)
{
    Value v;
    if (other.kind == Value::Number) {
        const auto d = fb::Decimal::fromString(text.text.trimmed());
        if (!d)
            fail(QStringLiteral("'%1' no es un número").arg(text.text), pos);
        v.kind = Value::Number;
        v.number = *d;
        return v;
    }
    // A date: the text as the memory table reads dates.
    FieldDef d;
    d.name = QStringLiteral("fecha");
    d.type = FieldType::DateTime;
    try {
        v.other = MemTable::convert(d, text.text);
    } catch (const MemTableError &) {
        fail(QStringLiteral("'%1' no es una fecha").arg(text.text), pos);
    }
    v.kind = Value::Other;
    return v;
}

int compareValues(Value a, Value b, int pos)
{
    if (a.kind == Value::Text && b.kind != Value::Text)
        a = coerce(a, b, pos);
    else if (b.kind == Value::Text && a.kind != Value::Text)
        b = coerce(b, a, pos);
    if (a.kind == Value::Number && b.kind == Value::Number) {
        if (a.isReal || b.isReal) {
            const double x = a.isReal ? a.real : a.number.toDouble();
            const double y = b.isReal ? b.real : b.number.toDouble();
            return x < y ? -1 : (x > y ? 1 : 0);
        }
        return a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
    }
    if (a.kind == Value::Text) {
        // Trailing blanks don't count, as with CHAR columns.
        QStringView x(a.text), y(b.text);
        while (x.endsWith(u' '))
            x.chop(1);
        while (y.endsWith(u' '))
            y.chop(1);
        const int c = x.compare(y);
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    if (a.kind == Value::Other && b.kind == Value::Other) {
        const QDateTime x = a.other.toDateTime(), y = b.other.toDateTime();
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    fail(QStringLiteral("no se pueden comparar estos valores"), pos);
}

bool test(const Cond &c, MemTable &t, int row)
{
    switch (c.kind) {
    case Cond::Or:
        return test(*c.left, t, row) || test(*c.right, t, row);
    case Cond::And:
        return test(*c.left, t, row) && test(*c.right, t, row);
    case Cond::Compare:
        break;
    }
    const Value a
        = c.a.kind == Operand::Column ? columnValue(t, row, c.a.field) : literalValue(c.a);
    const Value b
        = c.b.kind == Operand::Column ? columnValue(t, row, c.b.field) : literalValue(c.b);
    if (a.kind == Value::Null || b.kind == Value::Null)
        return false;
    const int r = compareValues(a, b, c.pos);
    if (c.op == u"=")
        return r == 0;
    if (c.op == u"<>")
        return r != 0;
    if (c.op == u"<")
        return r < 0;
    if (c.op == u">")
        return r > 0;
    if (c.op == u"<=")
        return r <= 0;
    return r >= 0;
}

} // namespace

MemSql::MemSql()
    : m_result(std::make_unique<MemTable>())
{}

MemSql::~MemSql() = default;

void MemSql::registerTable(const QString &name, MemTable *table)
{
    m_tables.insert(name.toUpper(), table);
}

void MemSql::unregisterTable(const QString &name)
{
    m_tables.remove(name.toUpper());
}

MemTable &MemSql::open(const QString &sql)
{
    Parser parser(sql, m_tables);
    const Statement st = parser.parse();
    MemTable &t = *st.table;
    if (!t.isActive())
        throw MemSqlError(
            QStringLiteral("Error en la consulta en memoria: la tabla no está abierta"));
    t.checkBrowseMode();

    std::vector<int> rows;
    const int n = t.recordCount();
    for (int r = 0; r < n; ++r) {
        if (!st.where || test(*st.where, t, r))
            rows.push_back(r);
    }

    MemTable &out = *m_result;
    out.close();
    out.clearFields();
    const bool aggregate = !st.star && !st.items.empty() && st.items.front().kind != Item::Column;
    std::vector<Item> items = st.items;
    if (st.star) {
        for (int f = 0; f < t.fieldCount(); ++f)
            items.push_back({Item::Column, f, t.fieldDef(f).name});
    }
    for (const Item &i : items) {
        FieldDef d;
        if (i.kind == Item::Count || i.kind == Item::CountAll) {
            d.type = FieldType::Integer;
        } else {
            d = t.fieldDef(i.field);
            d.readOnly = false;
        }
        d.name = i.name;
        for (int k = 1; out.fieldIndex(d.name) >= 0; ++k)
            d.name = i.name + u'_' + QString::number(k);
        out.addField(d);
    }
    out.open();
    out.disableControls();

    if (aggregate) {
        QVariantList values;
        for (const Item &i : items) {
            if (i.kind == Item::CountAll) {
                values << qint64(rows.size());
                continue;
            }
            const FieldDef &d = t.fieldDef(i.field);
            QVariant acc;
            qint64 count = 0;
            int best = -1; // row of the min or max so far
            for (int r : rows) {
                const QVariant &v = t.valueAt(r, i.field);
                if (v.isNull())
                    continue;
                ++count;
                switch (i.kind) {
                case Item::Sum:
                    if (d.type == FieldType::Integer)
                        acc = acc.toLongLong() + v.toLongLong();
                    else if (d.type == FieldType::Float)
                        acc = acc.toDouble() + v.toDouble();
                    else
                        acc = QVariant::fromValue(
                            add(acc.isNull() ? fb::Decimal() : acc.value<fb::Decimal>(),
                                v.value<fb::Decimal>()));
                    break;
                case Item::Min:
                case Item::Max: {
                    if (best < 0) {
                        best = r;
                        break;
                    }
                    const int c = compareValues(
                        columnValue(t, r, i.field), columnValue(t, best, i.field), 0);
                    if ((i.kind == Item::Min && c < 0) || (i.kind == Item::Max && c > 0))
                        best = r;
                    break;
                }
                default:
                    break;
                }
            }
            if (i.kind == Item::Count)
                acc = count;
            else if (i.kind == Item::Min || i.kind == Item::Max)
                acc = best < 0 ? QVariant() : t.valueAt(best, i.field);
            values << acc;
        }
        out.appendRecord(values);
    } else {
        if (!st.order.empty()) {
            std::stable_sort(rows.begin(), rows.end(), [&](int x, int y) {
                for (const OrderItem &o : st.order) {
                    Value a = columnValue(t, x, o.field), b = columnValue(t, y, o.field);
                    int c;
                    if (a.kind == Value::Null || b.kind == Value::Null)
                        c = a.kind == b.kind ? 0 : (a.kind == Value::Null ? -1 : 1);
                    else
                        c = compareValues(a, b, 0);
                    if (c != 0)
                        return o.descending ? c > 0 : c < 0;
                }
                return false;
            });
        }
        for (int r : rows) {
            QVariantList values;
            for (const Item &i : items)
                values << t.valueAt(r, i.field);
            out.appendRecord(values);
        }
    }
    out.enableControls();
    out.first();
    return out;
}

} // namespace lar
