#include "inventario_p.h"

#include "sql_p.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QRegularExpression>

namespace microsip::detail {

QString folio(const QString &prefijo, qint64 numero)
{
    const QString n = QString::number(numero);
    return prefijo + QString(std::max<qsizetype>(0, 9 - prefijo.size() - n.size()), u'0') + n;
}

int conceptoPorNombre(fb::Database &db, fb::Transaction &tr, const QString &nombre)
{
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral("SELECT CONCEPTO_IN_ID FROM CONCEPTOS_IN WHERE NOMBRE = :n"));
    q.bind(QStringLiteral("n"), nombre);
    q.open();
    return q.eof() ? 0 : q.field(0).toInt();
}

bool tieneFoliosConceptos(fb::Database &db, fb::Transaction &tr)
{
    return existeTabla(db, tr, QStringLiteral("FOLIOS_CONCEPTOS"));
}

int creaConcepto(fb::Database &db,
                 fb::Transaction &tr,
                 const QString &nombre,
                 QChar naturaleza,
                 const QString &serie,
                 bool predefinido)
{
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral(
        "INSERT INTO CONCEPTOS_IN (CONCEPTO_IN_ID, NOMBRE, NOMBRE_ABREV, NATURALEZA, FOLIO_AUTOM,"
        " TIPO, ES_PREDEF, ES_PREDET, OCULTO, TIPO_CALCULO, CENTROS_COSTO, CREAR_POLIZAS,"
        " PREG_CUENTA, TIPO_POLIZA, USUARIO_CREADOR, USUARIO_ULT_MODIF)"
        " VALUES (-1, :n, :a, :nat, 'S', 'V', :pre, 'N', 'N', 'C', 'N', 'N', 'N', 'N',"
        " 'SYSDBA', 'SYSDBA') RETURNING CONCEPTO_IN_ID"));
    q.bind(QStringLiteral("n"), nombre);
    q.bind(QStringLiteral("a"), nombre.left(30));
    q.bind(QStringLiteral("nat"), QString(naturaleza));
    q.bind(QStringLiteral("pre"), predefinido ? QStringLiteral("S") : QStringLiteral("N"));
    q.execute();
    const int id = q.field(0).toInt();
    serieConcepto(db, tr, id, serie, 1);
    return id;
}

int concepto(fb::Database &db,
             fb::Transaction &tr,
             const QString &nombre,
             QChar naturaleza,
             const QString &serie)
{
    const int id = conceptoPorNombre(db, tr, nombre);
    return id > 0 ? id : creaConcepto(db, tr, nombre, naturaleza, serie, false);
}

void serieConcepto(
    fb::Database &db, fb::Transaction &tr, int conceptoId, const QString &serie, int consecutivo)
{
    static const QRegularExpression reSerie(QStringLiteral("^[A-Z]{0,3}$"));
    if (!reSerie.match(serie).hasMatch() && serie != u"@")
        throw fb::Error(QStringLiteral("La serie '%1' no es válida: de una a tres letras "
                                       "mayúsculas, o '@' sin serie.")
                            .arg(serie));
    if (consecutivo < 1)
        throw fb::Error(QStringLiteral("El consecutivo debe ser 1 o mayor."));
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral("UPDATE CONCEPTOS_IN SET FOLIO_AUTOM = 'S' WHERE CONCEPTO_IN_ID = :c"));
    q.bind(QStringLiteral("c"), conceptoId);
    if (q.execute() == 0)
        throw fb::Error(QStringLiteral("No existe el concepto de inventario %1.").arg(conceptoId));
    const QString prefijo = serie == u"@" ? QString() : serie;
    if (tieneFoliosConceptos(db, tr)) {
        q.setSql(QStringLiteral("DELETE FROM FOLIOS_CONCEPTOS WHERE CONCEPTO_ID = :c"));
        q.bind(QStringLiteral("c"), conceptoId);
        q.execute();
        const int sucursal = sucursalMatriz(db, tr);
        q.setSql(QStringLiteral("INSERT INTO FOLIOS_CONCEPTOS (FOLIO_CONCEPTO_ID, SISTEMA,"
                                " CONCEPTO_ID, SUCURSAL_ID, SERIE, CONSECUTIVO)"
                                " VALUES (-1, 'IN', :c, :s, :serie, :n)"));
        q.bind(QStringLiteral("c"), conceptoId);
        q.bind(QStringLiteral("s"), sucursal > 0 ? QVariant(sucursal) : QVariant());
        q.bind(QStringLiteral("serie"), serie.isEmpty() ? QStringLiteral("@") : serie);
        q.bind(QStringLiteral("n"), consecutivo);
        q.execute();
    } else {
        q.setSql(
            QStringLiteral("UPDATE CONCEPTOS_IN SET SIG_FOLIO = :f WHERE CONCEPTO_IN_ID = :c"));
        q.bind(QStringLiteral("f"), folio(prefijo, consecutivo));
        q.bind(QStringLiteral("c"), conceptoId);
        q.execute();
    }
}

QString tomaFolios(fb::Database &db, fb::Transaction &tr, int conceptoId, int cuantos)
{
    fb::Query q(&db, &tr);
    q.setTrimChars(true);
    if (tieneFoliosConceptos(db, tr)) {
        q.setSql(QStringLiteral("SELECT FIRST 1 FOLIO_CONCEPTO_ID, SERIE, CONSECUTIVO"
                                " FROM FOLIOS_CONCEPTOS WHERE CONCEPTO_ID = :c"
                                " ORDER BY FOLIO_CONCEPTO_ID"));
        q.bind(QStringLiteral("c"), conceptoId);
        q.open();
        if (!q.eof()) {
            const int id = q.field(0).toInt();
            const QString serie = q.field(1).toString();
            const int n = q.field(2).toInt();
            q.close();
            q.setSql(QStringLiteral(
                "UPDATE FOLIOS_CONCEPTOS SET CONSECUTIVO = :n WHERE FOLIO_CONCEPTO_ID = :id"));
            q.bind(QStringLiteral("n"), n + cuantos);
            q.bind(QStringLiteral("id"), id);
            q.execute();
            return folio(serie == u"@" ? QString() : serie, n);
        }
        q.close();
    } else {
        q.setSql(QStringLiteral("SELECT SIG_FOLIO FROM CONCEPTOS_IN WHERE CONCEPTO_IN_ID = :c"));
        q.bind(QStringLiteral("c"), conceptoId);
        q.open();
        const QString sig = q.eof() ? QString() : q.field(0).toString();
        q.close();
        static const QRegularExpression reFolio(QStringLiteral("^([A-Z]*)0*([0-9]+)$"));
        const QRegularExpressionMatch m = reFolio.match(sig);
        if (m.hasMatch()) {
            const qint64 n = m.captured(2).toLongLong();
            q.setSql(
                QStringLiteral("UPDATE CONCEPTOS_IN SET SIG_FOLIO = :f WHERE CONCEPTO_IN_ID = :c"));
            q.bind(QStringLiteral("f"), folio(m.captured(1), n + cuantos));
            q.bind(QStringLiteral("c"), conceptoId);
            q.execute();
            return folio(m.captured(1), n);
        }
    }
    // No series: after the highest folio of the concept's documents.
    q.setSql(QStringLiteral("SELECT COUNT(*) FROM DOCTOS_IN WHERE CONCEPTO_IN_ID = :c"));
    q.bind(QStringLiteral("c"), conceptoId);
    q.open();
    const qint64 n = q.field(0).toInt64();
    q.close();
    return folio(QStringLiteral("IN"), n + 1);
}

int almacenPredeterminado(fb::Database &db, fb::Transaction &tr)
{
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral("SELECT FIRST 1 ALMACEN_ID FROM ALMACENES"
                            " ORDER BY IIF(ES_PREDET = 'S', 0, 1), ALMACEN_ID"));
    q.open();
    return q.eof() ? 0 : q.field(0).toInt();
}

int sucursalMatriz(fb::Database &db, fb::Transaction &tr)
{
    fb::Query q(&db, &tr);
    q.setSql(QStringLiteral("SELECT FIRST 1 SUCURSAL_ID FROM SUCURSALES"
                            " ORDER BY IIF(ES_MATRIZ, 0, 1), SUCURSAL_ID"));
    q.open();
    return q.eof() ? 0 : q.field(0).toInt();
}

} // namespace microsip::detail
