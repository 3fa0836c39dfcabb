#include "ids.h"

#include "sesion.h"

#include <QDir>
#include <QFile>

namespace lar {

namespace {

// Length of the folio's prefix: the run of A to Z at the start.
qsizetype largoPrefijo(const QString &folio)
{
    qsizetype i = 0;
    while (i < folio.size() && folio[i] >= u'A' && folio[i] <= u'Z')
        ++i;
    return i;
}

QString sinCerosIniciales(const QString &texto)
{
    qsizetype i = 0;
    while (i < texto.size() && texto[i] == u'0')
        ++i;
    return texto.mid(i);
}

QString ceros(qsizetype n)
{
    return n > 0 ? QString(n, u'0') : QString();
}

} // namespace

int GetNextID(Sesion &s, const QString &nombre, int incremento)
{
    s.TransInicia();
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    try {
        q.setSql(QStringLiteral("select gen_id(gen_lar_") + nombre + u','
                 + QString::number(incremento) + QStringLiteral(") from rdb$database"));
        q.open();
        const qint64 valor = q.field(0).toInt64();
        q.close();
        return int(incremento == 0 ? valor + 1 : valor);
    } catch (const std::exception &) {
        // Generators are created by the first caller that needs one; the commit takes
        // the caller's pending work on fbUpdateTrans with it, as it always has.
        q.close();
        fb::TransactionGuard guardia(s.fbUpdateTrans());
        q.setSql(QStringLiteral("CREATE GENERATOR gen_lar_") + nombre);
        q.execute();
        if (incremento > 0) {
            q.setSql(QStringLiteral("SET GENERATOR gen_lar_") + nombre + QStringLiteral(" TO 1"));
            q.execute();
        }
        guardia.commit();
        return 1;
    }
}

int GetNextFolioDoc(Sesion &s, bool incrementa)
{
    s.TransInicia();
    fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
    q.setSql(incrementa ? QStringLiteral("select gen_id(id_doctos,1) from rdb$database")
                        : QStringLiteral("select gen_id(id_doctos,0) from rdb$database"));
    q.open();
    const int valor = q.field(0).toInt();
    q.close();
    return valor;
}

QString CarpetaLog()
{
    const QString datos = qEnvironmentVariable("LARVENOS_DATOS");
    if (datos.isEmpty())
        return QStringLiteral("/var/log/LarvenosPV/");
    return datos + (datos.endsWith(u'/') ? QString() : QStringLiteral("/"))
           + QStringLiteral("logs/");
}

void GuardaLog(const QString &texto)
{
    const QString carpeta = CarpetaLog();
    if (!QDir(carpeta).exists())
        QDir().mkdir(carpeta); // one level only; a failure just loses the line
    QFile f(carpeta + QStringLiteral("LarPuntos.txt"));
    if (!f.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return;
    const QDateTime ahora = QDateTime::currentDateTime();
    const int h = ahora.time().hour();
    const QString linea = ahora.toString(QStringLiteral("dd/MM/yyyy "))
                          + QStringLiteral("%1:%2 %3")
                                .arg(h % 12 == 0 ? 12 : h % 12, 2, 10, QChar(u'0'))
                                .arg(ahora.time().minute(), 2, 10, QChar(u'0'))
                                .arg(h < 12 ? u"AM" : u"PM")
                          + QStringLiteral("  ") + texto + u'\n';
    f.write(linea.toUtf8());
}

QString FolioNormaliza(const QString &folio)
{
    const qsizetype p = largoPrefijo(folio);
    const QString unido = folio.left(p) + sinCerosIniciales(folio.mid(p));
    QString out;
    out.reserve(unido.size());
    for (QChar c : unido) {
        if (c != u' ' && c != u'\r' && c != u'\n')
            out += c;
    }
    return out;
}

int FolioNumero(const QString &folio)
{
    return sinCerosIniciales(folio.mid(largoPrefijo(folio))).toInt();
}

QString FolioSiguiente(const QString &folio, int ancho)
{
    const qsizetype p = largoPrefijo(folio);
    const QString numero = QString::number(qint64(FolioNumero(folio)) + 1);
    return folio.left(p) + ceros(ancho - p - numero.size()) + numero;
}

QString FolioRellena(const QString &folio, int ancho)
{
    const qsizetype p = largoPrefijo(folio);
    const QString cuerpo = folio.mid(p);
    return folio.left(p) + ceros(ancho - p - cuerpo.size()) + cuerpo;
}

int ExcelColumna(const QString &letras)
{
    if (letras.isEmpty())
        return 0;
    qint64 n = 0;
    for (QChar c : letras) {
        if (c < u'A' || c > u'Z')
            return 0;
        n = n * 26 + (c.unicode() - u'A' + 1);
        if (n > std::numeric_limits<int>::max())
            return 0;
    }
    return int(n);
}

void Divide(QStringList &lista, const QString &texto, const QString &separador)
{
    lista.clear();
    QString t = texto;
    for (QChar &c : t) {
        if (c >= u'a' && c <= u'z')
            c = QChar(c.unicode() - (u'a' - u'A'));
    }
    if (separador.isEmpty()) {
        if (!t.isEmpty())
            lista.append(t);
        return;
    }
    qsizetype desde = 0;
    for (qsizetype i = t.indexOf(separador); i >= 0; i = t.indexOf(separador, desde)) {
        lista.append(t.mid(desde, i - desde));
        desde = i + separador.size();
    }
    if (desde < t.size())
        lista.append(t.mid(desde));
}

QString VersionArchivo()
{
    QStringList partes = QStringLiteral(LAR_VERSION).split(u'.');
    while (partes.size() < 4)
        partes.append(QStringLiteral("0"));
    return partes.mid(0, 4).join(u'.');
}

} // namespace lar
