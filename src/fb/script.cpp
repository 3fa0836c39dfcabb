#include "script.h"

#include "database.h"
#include "query.h"
#include "sqltext.h"
#include "transaction.h"

#include <QRegularExpression>

namespace fb {

namespace {

// The text without comments and surrounding blanks, for recognising directives.
QString bareText(const QString &text)
{
    QString out;
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n;) {
        const SqlPiece p = sqlPieceAt(text, i);
        if (!p.isComment())
            out += QStringView(text).mid(i, p.end - i);
        i = p.end;
    }
    return out.trimmed();
}

bool isIsqlSetting(const QString &upper)
{
    static const QRegularExpression re(QStringLiteral(
        "^SET\\s+(SQL\\s+DIALECT|NAMES|AUTODDL|ECHO|BAIL|HEADING|LIST|COUNT|STATS|PLAN|PLANONLY|"
        "WARNINGS|WNG|BLOBDISPLAY|TIME|ROWCOUNT|SQLDA_DISPLAY|EXEC_PATH_DISPLAY)\\b"));
    return re.match(upper).hasMatch();
}

} // namespace

QList<ScriptStatement> splitScript(const QString &script)
{
    QList<ScriptStatement> out;
    QString term = QStringLiteral(";");
    const qsizetype n = script.size();
    int line = 1;
    int startLine = 1;
    qsizetype codeStart = 0;
    bool seenCode = false; // something other than blanks and comments since start

    auto emitStatement = [&](qsizetype end) {
        if (!seenCode)
            return;
        // Comments before the first word stay out of the statement's text.
        const QString text = script.mid(codeStart, end - codeStart);
        const QString bare = bareText(text);
        const QString upper = bare.toUpper();
        if (upper.isEmpty())
            return;
        static const QRegularExpression setTerm(QStringLiteral("^SET\\s+TERM\\s+(\\S+)\\s*$"),
                                                QRegularExpression::CaseInsensitiveOption);
        static const QRegularExpression commit(QStringLiteral("^COMMIT(\\s+WORK)?$"));
        static const QRegularExpression rollback(QStringLiteral("^ROLLBACK(\\s+WORK)?$"));
        const QRegularExpressionMatch m = setTerm.match(bare);
        if (m.hasMatch()) {
            term = m.captured(1);
            return;
        }
        if (isIsqlSetting(upper))
            return;
        ScriptStatement st;
        st.line = startLine;
        if (commit.match(upper).hasMatch())
            st.kind = ScriptStatement::Kind::Commit;
        else if (rollback.match(upper).hasMatch())
            st.kind = ScriptStatement::Kind::Rollback;
        st.text = text.trimmed();
        out.append(st);
    };

    qsizetype i = 0;
    while (i < n) {
        const QChar c = script[i];
        if (c == u'\n') {
            ++line;
            ++i;
            continue;
        }
        const SqlPiece p = sqlPieceAt(script, i);
        if (p.isComment()) {
            line += int(QStringView(script).mid(i, p.end - i).count(u'\n'));
            i = p.end;
            continue;
        }
        if (c.isSpace()) {
            ++i;
            continue;
        }
        if (!seenCode) {
            seenCode = true;
            startLine = line;
            codeStart = i;
        }
        if (p.kind != SqlPiece::Code) {
            line += int(QStringView(script).mid(i, p.end - i).count(u'\n'));
            i = p.end;
            continue;
        }
        if (QStringView(script).mid(i, term.size()) == term) {
            const qsizetype termSize = term.size(); // SET TERM changes it
            emitStatement(i);
            i += termSize;
            seenCode = false;
            continue;
        }
        ++i;
    }
    // A last statement without its terminator still runs, as isql does.
    emitStatement(n);
    return out;
}

ScriptRunner::ScriptRunner(Database &db, Transaction &tr)
    : m_db(db)
    , m_tr(tr)
{}

void ScriptRunner::run(const QString &script)
{
    const QList<ScriptStatement> statements = splitScript(script);
    Query q(&m_db, &m_tr);
    q.setParamCheck(false);
    for (const ScriptStatement &st : statements) {
        try {
            switch (st.kind) {
            case ScriptStatement::Kind::Commit:
                if (m_tr.isActive())
                    m_tr.commit();
                m_tr.start();
                break;
            case ScriptStatement::Kind::Rollback:
                if (m_tr.isActive())
                    m_tr.rollback();
                m_tr.start();
                break;
            case ScriptStatement::Kind::Sql:
                m_tr.ensureActive();
                q.setSql(st.text);
                q.execute();
                q.close();
                break;
            }
            ++m_executed;
        } catch (const Error &e) {
            ++m_failed;
            q.unprepare();
            q.clearSql();
            const OnError action = m_handler ? m_handler(st, e) : OnError::Stop;
            if (action == OnError::Stop)
                throw;
            // A commit that failed leaves its work pending; drop it and go on afresh.
            if (st.kind != ScriptStatement::Kind::Sql && m_tr.isActive()) {
                try {
                    m_tr.rollback();
                } catch (const Error &) {
                }
            }
        }
    }
}

} // namespace fb
