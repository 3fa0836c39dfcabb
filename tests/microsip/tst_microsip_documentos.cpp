// Microsip's part on sale documents: the exact updates each command makes (the
// points triggers count on them), what lands in headers and lines, the stock they
// move, what is refused, and the points settings written for a scenario.

#include "microsip/sim/documentos.h"
#include "microsip/sim/puntos.h"
#include "microsip/sim/simulacion.h"

#include "ayudasim.h"
#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QProcess>
#include <QTest>

using microsip::Documento;
using microsip::Renglon;
using microsip::Sistema;

using namespace Qt::StringLiterals;

namespace {

fb::Decimal dec(const char *texto)
{
    return *fb::Decimal::fromString(QString::fromLatin1(texto));
}

Renglon renglon(const QString &clave, const char *unidades, std::optional<fb::Decimal> precio = {})
{
    Renglon r;
    r.clave = clave;
    r.unidades = dec(unidades);
    r.precio = precio;
    return r;
}

// One refused operation on a fresh sale, an applied sale and a pending one.
using Rechazo = std::function<void(Documento &, int aplicada, int pendiente)>;

} // namespace

Q_DECLARE_METATYPE(Rechazo)

class TestMicrosipDocumentos : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_e;
    fb::Database m_db;
    std::unique_ptr<microsip::Documentos> m_docs;
    QString m_art; // a stocked article's main key
    int m_artId = 0;
    QString m_barras;   // the barcode of another stocked article
    QString m_servicio; // an article that isn't stocked
    QString m_cliente;  // a customer's main key
    int m_almacen = 0;

    QVariant valor(const QString &sql, const QVariant &p = {})
    {
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        q.setTrimChars(true);
        q.setSql(sql);
        if (p.isValid())
            q.bind(0, p);
        q.open();
        const QVariant v = q.eof() ? QVariant() : q.field(0).toVariant();
        q.close();
        tr.commit();
        return v;
    }

    void ejecuta(const QString &sql) { lartest::ejecuta(m_db, sql); }

    double existencia(int articulo)
    {
        fb::Transaction tr(&m_db);
        fb::Query q(&m_db, &tr);
        q.setSql(u"EXECUTE PROCEDURE CALC_EXIS_ARTALM ?, ?, '12-31-9999'"_s);
        q.bind(0, articulo);
        q.bind(1, m_almacen);
        q.execute();
        const double e = q.field(0).toDouble();
        tr.commit();
        return e;
    }

    // The header's life as the audit trigger saw it: I(nsert), U(pdate) with the
    // APLICADO and ESTATUS before and after and '$' when the totals changed,
    // D(elete), and L for deleted lines.
    QString traza(Sistema s, int id)
    {
        return valor(u"SELECT LIST(PASO, ' ') FROM (SELECT PASO FROM T_AUDITORIA"
                     " WHERE SIS = ? AND ID = %1 ORDER BY N)"_s.arg(id),
                     microsip::claveSistema(s))
            .toString();
    }

    qint64 cuenta()
    {
        return valor(u"SELECT (SELECT COUNT(*) FROM DOCTOS_PV) + (SELECT COUNT(*) FROM"
                     " DOCTOS_VE) + (SELECT COUNT(*) FROM DOCTOS_IN) FROM RDB$DATABASE"_s)
            .toLongLong();
    }

    Documento venta(Sistema s = Sistema::PV, int unidades = 2)
    {
        Documento d;
        d.sistema = s;
        d.claveCliente = m_cliente;
        d.renglones << renglon(m_art, QByteArray::number(unidades).constData(), dec("116"));
        return d;
    }

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.sembrado = true;
        m_e = std::make_unique<lartest::EntornoPrueba>(op);
        m_e->instalaExtension();
        m_e->conectaEmpresa(m_db);
        m_docs = std::make_unique<microsip::Documentos>(m_db);

        ejecuta(u"CREATE SEQUENCE T_AUD"_s);
        ejecuta(u"CREATE TABLE T_AUDITORIA (N INTEGER, SIS CHAR(2), ID INTEGER,"
                " PASO VARCHAR(20))"_s);
        for (const QString &s : {u"PV"_s, u"VE"_s}) {
            ejecuta(u"CREATE TRIGGER T_AUD_%1 FOR DOCTOS_%1 AFTER INSERT OR UPDATE OR DELETE"
                    " POSITION 99 AS BEGIN"
                    " IF (INSERTING) THEN INSERT INTO T_AUDITORIA VALUES (NEXT VALUE FOR T_AUD,"
                    "  '%1', NEW.DOCTO_%1_ID, 'I' || NEW.APLICADO || NEW.ESTATUS);"
                    " IF (UPDATING) THEN INSERT INTO T_AUDITORIA VALUES (NEXT VALUE FOR T_AUD,"
                    "  '%1', NEW.DOCTO_%1_ID, TRIM('U' || OLD.APLICADO || NEW.APLICADO || "
                    "OLD.ESTATUS"
                    "  || NEW.ESTATUS || IIF(OLD.IMPORTE_NETO IS DISTINCT FROM NEW.IMPORTE_NETO"
                    "  OR OLD.TOTAL_IMPUESTOS IS DISTINCT FROM NEW.TOTAL_IMPUESTOS, '$', '')));"
                    " IF (DELETING) THEN INSERT INTO T_AUDITORIA VALUES (NEXT VALUE FOR T_AUD,"
                    "  '%1', OLD.DOCTO_%1_ID, 'D');"
                    " END"_s.arg(s));
            ejecuta(u"CREATE TRIGGER T_AUD_%1_DET FOR DOCTOS_%1_DET AFTER DELETE"
                    " POSITION 99 AS BEGIN INSERT INTO T_AUDITORIA VALUES"
                    " (NEXT VALUE FOR T_AUD, '%1', OLD.DOCTO_%1_ID, 'L'); END"_s.arg(s));
        }

        m_almacen = valor(u"SELECT ALMACEN_ID FROM ALMACENES WHERE ES_PREDET = 'S'"_s).toInt();
        const QString conExistencia
            = u"SELECT FIRST 1 SKIP %1 C.CLAVE_ARTICULO FROM ARTICULOS A JOIN CLAVES_ARTICULOS C"
              " ON C.ARTICULO_ID = A.ARTICULO_ID JOIN ROLES_CLAVES_ARTICULOS R"
              " ON R.ROL_CLAVE_ART_ID = C.ROL_CLAVE_ART_ID"
              " WHERE A.ES_ALMACENABLE = 'S' AND A.ESTATUS = 'A' AND R.NOMBRE = '%2'"
              " ORDER BY A.ARTICULO_ID"_s;
        m_art = valor(conExistencia.arg(0).arg(u"Clave principal"_s)).toString();
        m_artId
            = valor(u"SELECT ARTICULO_ID FROM CLAVES_ARTICULOS WHERE CLAVE_ARTICULO = ?"_s, m_art)
                  .toInt();
        m_barras = valor(conExistencia.arg(3).arg(u"Código de barras"_s)).toString();
        m_servicio = valor(u"SELECT FIRST 1 C.CLAVE_ARTICULO FROM ARTICULOS A JOIN"
                           " CLAVES_ARTICULOS C ON C.ARTICULO_ID = A.ARTICULO_ID"
                           " WHERE A.ES_ALMACENABLE = 'N'"_s)
                         .toString();
        m_cliente = u"C000005"_s;
        QVERIFY(!m_art.isEmpty() && !m_barras.isEmpty() && !m_servicio.isEmpty());
    }

    // Each command issues exactly Microsip's statements on the header, in order.
    void actualizaciones()
    {
        const int pv = m_docs->crea(venta());
        QCOMPARE(traza(Sistema::PV, pv), u"INN UNNNN$"_s);
        m_docs->aplica(Sistema::PV, pv);
        QCOMPARE(traza(Sistema::PV, pv), u"INN UNNNN$ UNSNN"_s);
        m_docs->desaplica(Sistema::PV, pv);
        m_docs->reaplica(Sistema::PV, pv);
        QCOMPARE(traza(Sistema::PV, pv), u"INN UNNNN$ UNSNN USNNN UNSNN"_s);
        const int dev = m_docs->devuelve(Sistema::PV, pv, {renglon(m_art, "1")});
        // A return is a document of its own; the sale isn't touched.
        QCOMPARE(traza(Sistema::PV, dev), u"INN UNNNN$ UNSNN"_s);
        QCOMPARE(traza(Sistema::PV, pv), u"INN UNNNN$ UNSNN USNNN UNSNN"_s);
        m_docs->cancelaDevolucion(Sistema::PV, dev);
        QCOMPARE(traza(Sistema::PV, dev), u"INN UNNNN$ UNSNN USSNC"_s);
        m_docs->cancela(Sistema::PV, pv);
        QCOMPARE(traza(Sistema::PV, pv), u"INN UNNNN$ UNSNN USNNN UNSNN USSNC"_s);
        m_docs->elimina(Sistema::PV, pv);
        QCOMPARE(traza(Sistema::PV, pv), u"INN UNNNN$ UNSNN USNNN UNSNN USSNC L D"_s);

        Documento aplicado = venta();
        aplicado.insertaAplicado = true;
        const int ya = m_docs->crea(aplicado);
        QCOMPARE(traza(Sistema::PV, ya), u"ISN USSNN$"_s);

        const int ve = m_docs->vende(venta(Sistema::VE));
        QCOMPARE(traza(Sistema::VE, ve), u"INN UNNNN$ UNSNN"_s);
        m_docs->cancela(Sistema::VE, ve);
        m_docs->elimina(Sistema::VE, ve);
        QCOMPARE(traza(Sistema::VE, ve), u"INN UNNNN$ UNSNN USSNC L D"_s);
    }

    void cabecerasYRenglones()
    {
        Documento d;
        d.claveCliente = m_cliente;
        d.fecha = QDate(2026, 7, 15);
        Renglon porId;
        porId.articuloId = m_artId;
        porId.unidades = dec("2.5");
        porId.precio = dec("116");
        Renglon componente = renglon(m_barras, "1", dec("11.60"));
        componente.posicion = 0;
        componente.rol = u'C';
        d.renglones << porId << componente << renglon(m_servicio, "1");
        const int id = m_docs->crea(d);
        const microsip::Cabecera c = m_docs->lee(Sistema::PV, id);
        QCOMPARE(c.tipo, u'V');
        QCOMPARE(c.estatus, u'N');
        QCOMPARE(c.aplicado, u'N');
        QVERIFY2(c.folio.startsWith(u'A') && c.folio.size() == 9, qPrintable(c.folio));
        QCOMPARE(c.fecha, QDate(2026, 7, 15));
        QCOMPARE(c.clienteId,
                 valor(u"SELECT CLIENTE_ID FROM CLAVES_CLIENTES WHERE"
                       " CLAVE_CLIENTE = ?"_s,
                       m_cliente)
                     .toInt());
        // The service's shelf price: its list price (without tax) plus 16 %.
        const qint64 lista = valor(u"SELECT CAST(P.PRECIO * 100 AS BIGINT) FROM"
                                   " PRECIOS_ARTICULOS P JOIN CLAVES_ARTICULOS C ON"
                                   " C.ARTICULO_ID = P.ARTICULO_ID WHERE"
                                   " C.CLAVE_ARTICULO = ?"_s,
                                   m_servicio)
                                 .toLongLong();
        const qint64 estante = (lista * 116 + 50) / 100;
        // 2.5 x 116 = 290.00 with tax, 250.00 net; 11.60 is 10.00 net.
        QCOMPARE(c.importeNeto, fb::Decimal(25000 + 1000 + (estante * 100 + 58) / 116, 2));
        QCOMPARE(c.importeNeto.unscaled() + c.totalImpuestos.unscaled(), 29000 + 1160 + estante);

        QCOMPARE(valor(u"SELECT LIST(CLAVE_ARTICULO || ':' || CAST(UNIDADES AS"
                       " NUMERIC(9,1)) || ':' || POSICION || ':' || ROL || ':' ||"
                       " CAST(PRECIO_UNITARIO AS NUMERIC(9,2)) || ':' ||"
                       " CAST(PRECIO_UNITARIO_IMPTO AS NUMERIC(9,2)), ' ') FROM"
                       " (SELECT * FROM DOCTOS_PV_DET WHERE DOCTO_PV_ID = ? ORDER BY"
                       " DOCTO_PV_DET_ID)"_s,
                       id)
                     .toString(),
                 u"%1:2.5:1:N:100.00:116.00 %2:1.0:0:C:10.00:11.60 %3:1.0:2:N:%4:%5"_s
                     .arg(m_art, m_barras, m_servicio)
                     .arg(QString::number(lista / 100.0, 'f', 2))
                     .arg(QString::number(estante / 100.0, 'f', 2)));

        // The sales module: prices without tax, the seller, the series F; totals given.
        Documento f = venta(Sistema::VE, 3);
        f.renglones.first().precio = dec("100");
        const int ve = m_docs->crea(f);
        const microsip::Cabecera cf = m_docs->lee(Sistema::VE, ve);
        QCOMPARE(cf.tipo, u'F');
        QVERIFY(cf.folio.startsWith(u'F'));
        QCOMPARE(cf.importeNeto, fb::Decimal(30000, 2));
        QCOMPARE(cf.totalImpuestos, fb::Decimal(4800, 2));
        QCOMPARE(valor(u"SELECT COUNT(*) FROM DOCTOS_VE WHERE DOCTO_VE_ID = ? AND"
                       " VENDEDOR_ID = (SELECT MIN(VENDEDOR_ID) FROM VENDEDORES)"_s,
                       ve)
                     .toInt(),
                 1);
        Documento fijo = venta();
        fijo.importeNeto = dec("99.99");
        fijo.totalImpuestos = dec("0");
        fijo.folio = u"z0000001"_s;
        const microsip::Cabecera cz = m_docs->lee(Sistema::PV, m_docs->crea(fijo));
        QCOMPARE(cz.folio, u"Z0000001"_s);
        QCOMPARE(cz.importeNeto, fb::Decimal(9999, 2));
        // The next folio of the series follows the last one; other series don't count.
        const QString siguiente = m_docs->lee(Sistema::PV, m_docs->crea(venta())).folio;
        QCOMPARE(siguiente, u"A%1"_s.arg(c.folio.mid(1).toInt() + 1, 8, 10, QChar(u'0')));
    }

    // Applying moves the stock through an inventory document; a header inserted
    // applied moves nothing; cancelling, unapplying and deleting take it back.
    void existencias()
    {
        const double inicial = existencia(m_artId);
        Documento aplicado = venta(Sistema::PV, 3);
        aplicado.insertaAplicado = true;
        const int ya = m_docs->crea(aplicado);
        QCOMPARE(existencia(m_artId), inicial);
        QCOMPARE(m_docs->lee(Sistema::PV, ya).doctoInId, 0);

        const int id = m_docs->vende(venta(Sistema::PV, 3));
        QCOMPARE(existencia(m_artId), inicial - 3);
        const int in = m_docs->lee(Sistema::PV, id).doctoInId;
        QVERIFY(in > 0);
        QCOMPARE(valor(u"SELECT D.SISTEMA_ORIGEN || D.NATURALEZA_CONCEPTO || D.APLICADO"
                       " || D.CANCELADO || ' ' || C.NOMBRE FROM DOCTOS_IN D JOIN"
                       " CONCEPTOS_IN C ON C.CONCEPTO_IN_ID = D.CONCEPTO_IN_ID"
                       " WHERE D.DOCTO_IN_ID = ?"_s,
                       in)
                     .toString(),
                 u"PVSSN Salida por venta"_s);

        const int dev = m_docs->devuelve(Sistema::PV, id, {renglon(m_art, "1")});
        QCOMPARE(existencia(m_artId), inicial - 2);
        m_docs->cancelaDevolucion(Sistema::PV, dev);
        QCOMPARE(existencia(m_artId), inicial - 3);
        m_docs->desaplica(Sistema::PV, id);
        QCOMPARE(existencia(m_artId), inicial);
        m_docs->reaplica(Sistema::PV, id);
        QCOMPARE(existencia(m_artId), inicial - 3);
        QCOMPARE(m_docs->lee(Sistema::PV, id).doctoInId, in);
        m_docs->cancela(Sistema::PV, id);
        QCOMPARE(existencia(m_artId), inicial);
        QCOMPARE(valor(u"SELECT CANCELADO FROM DOCTOS_IN WHERE DOCTO_IN_ID = ?"_s, in).toString(),
                 u"S"_s);

        const int otra = m_docs->vende(venta(Sistema::VE, 4));
        QCOMPARE(existencia(m_artId), inicial - 4);
        m_docs->elimina(Sistema::VE, otra);
        QCOMPARE(existencia(m_artId), inicial);
        QCOMPARE(
            valor(u"SELECT COUNT(*) FROM DOCTOS_ENTRE_SIS WHERE DOCTO_FTE_ID = ?"_s, otra).toInt(),
            0);

        // Services move nothing: a sale of services only has no inventory document.
        Documento servicio = venta();
        servicio.renglones = {renglon(m_servicio, "1")};
        QCOMPARE(m_docs->lee(Sistema::PV, m_docs->vende(servicio)).doctoInId, 0);
    }

    void devoluciones()
    {
        Documento d = venta(Sistema::PV, 3);
        d.renglones << renglon(m_barras, "2", dec("58"));
        const int id = m_docs->vende(d);
        const int primera = m_docs->devuelve(Sistema::PV, id, {renglon(m_barras, "1")});
        const microsip::Cabecera c = m_docs->lee(Sistema::PV, primera);
        QCOMPARE(c.tipo, u'D');
        QCOMPARE(c.aplicado, u'S');
        QVERIFY(c.folio.startsWith(u"DV"_s));
        QCOMPARE(c.importeNeto.unscaled() + c.totalImpuestos.unscaled(), 5800);
        // Without lines: what is left of the sale, whole.
        const int resto = m_docs->devuelve(Sistema::PV, id);
        QCOMPARE(valor(u"SELECT LIST(CLAVE_ARTICULO || ':' || CAST(UNIDADES AS INTEGER),"
                       " ' ') FROM (SELECT * FROM DOCTOS_PV_DET WHERE DOCTO_PV_ID = ?"
                       " ORDER BY POSICION)"_s,
                       resto)
                     .toString(),
                 u"%1:3 %2:1"_s.arg(m_art, m_barras));
        const microsip::Cabecera v = m_docs->lee(Sistema::PV, id);
        QCOMPARE(v.estatus, u'N');
        QCOMPARE(v.aplicado, u'S');

        // An invoice's return takes the invoice's own tax rate.
        Documento f = venta(Sistema::VE, 2);
        f.renglones.first().precio = dec("50");
        f.renglones.first().tasaImpuesto = dec("8");
        const int fid = m_docs->vende(f);
        const microsip::Cabecera df = m_docs->lee(Sistema::VE, m_docs->devuelve(Sistema::VE, fid));
        QVERIFY(df.folio.startsWith(u"DF"_s));
        QCOMPARE(df.importeNeto, fb::Decimal(10000, 2));
        QCOMPARE(df.totalImpuestos, fb::Decimal(800, 2));
    }

    // Each refusal works on a fresh sale d, an applied sale and a pending one.
    void rechazos_data()
    {
        QTest::addColumn<Rechazo>("haz");
        QTest::addColumn<QString>("mensaje");
        const auto vende = [this](const char *nombre, auto cambia, const QString &mensaje) {
            QTest::newRow(nombre) << Rechazo([this, cambia](Documento &d, int, int) {
                cambia(d);
                m_docs->vende(d);
            }) << mensaje;
        };
        const auto caso = [](const char *nombre, Rechazo haz, const QString &mensaje) {
            QTest::newRow(nombre) << haz << mensaje;
        };
        vende(
            "artículo",
            [](Documento &d) { d.renglones << renglon(u"NO-HAY"_s, "1", dec("1")); },
            u"No existe el artículo con clave 'NO-HAY'."_s);
        vende(
            "cliente",
            [](Documento &d) { d.claveCliente = u"NADIE"_s; },
            u"No existe el cliente con clave 'NADIE'."_s);
        vende(
            "unidades",
            [](Documento &d) { d.renglones.first().unidades = dec("0"); },
            u"deben ser mayores que cero"_s);
        vende(
            "precio",
            [](Documento &d) { d.renglones.first().precio = dec("-1"); },
            u"no puede ser negativo"_s);
        vende(
            "ventas sin cliente",
            [](Documento &d) {
                d.sistema = Sistema::VE;
                d.claveCliente.clear();
            },
            u"Indique el cliente del documento de ventas."_s);
        vende(
            "sin existencia",
            [this](Documento &d) {
                d.renglones.first().unidades
                    = fb::Decimal::fromInt(qint64(existencia(m_artId)) + 1);
            },
            u"No hay existencia suficiente"_s);
        vende(
            "unidades sin cabida",
            [](Documento &d) { d.renglones.first().unidades = dec("184467440737096"); },
            u"El número 184467440737096 es demasiado grande: no cabe con 5 decimales"_s);
        vende(
            "precio sin cabida",
            [](Documento &d) { d.renglones.first().precio = dec("9999999999999999"); },
            u"El número 9999999999999999 es demasiado grande: no cabe con 6 decimales"_s);
        caso(
            "aplicar dos veces",
            [this](Documento &, int aplicada, int) { m_docs->aplica(Sistema::PV, aplicada); },
            u"ya está aplicado."_s);
        caso(
            "cancelar dos veces",
            [this](Documento &, int, int pendiente) {
                m_docs->cancela(Sistema::PV, pendiente);
                m_docs->cancela(Sistema::PV, pendiente);
            },
            u"ya está cancelado."_s);
        caso(
            "no es devolución",
            [this](Documento &, int aplicada, int) {
                m_docs->cancelaDevolucion(Sistema::PV, aplicada);
            },
            u"no es una devolución."_s);
        caso(
            "devolver de más",
            [this](Documento &, int aplicada, int) {
                m_docs->devuelve(Sistema::PV, aplicada, {renglon(m_art, "3")});
            },
            u"Se devuelven más unidades de las vendidas"_s);
        caso(
            "devolver sin aplicar",
            [this](Documento &, int, int pendiente) { m_docs->devuelve(Sistema::PV, pendiente); },
            u"Solo se devuelve una venta aplicada"_s);
        caso(
            "modificar aplicado",
            [this](Documento &, int aplicada, int) {
                m_docs->modifica(Sistema::PV, aplicada, {renglon(m_art, "1", dec("1"))});
            },
            u"desaplíquelo antes de modificarlo"_s);
        caso(
            "documento",
            [this](Documento &, int, int) { m_docs->cancela(Sistema::VE, 999999); },
            u"No existe el documento 999999 de ventas."_s);
    }

    // Refused with a Spanish message, and nothing of the operation stays.
    void rechazos()
    {
        QFETCH(Rechazo, haz);
        QFETCH(QString, mensaje);
        const int aplicada = m_docs->vende(venta());
        const int pendiente = m_docs->crea(venta());
        const qint64 antes = cuenta();
        const QString trazaAntes = traza(Sistema::PV, aplicada);
        Documento d = venta();
        const fb::Error e = lartest::fallo([&] { haz(d, aplicada, pendiente); });
        QVERIFY2(e.message().contains(mensaje), qPrintable(e.message()));
        QCOMPARE(cuenta(), antes);
        QCOMPARE(traza(Sistema::PV, aplicada), trazaAntes);
        QCOMPARE(m_docs->transaccion().isActive(), false);
    }

    // Modifying an unapplied document replaces its lines and totals; the new lines
    // are what moves on the reapply.
    void modifica()
    {
        const int id = m_docs->vende(venta(Sistema::PV, 2));
        const double inicial = existencia(m_artId) + 2;
        m_docs->desaplica(Sistema::PV, id);
        m_docs->modifica(Sistema::PV, id, {renglon(m_art, "5", dec("10"))});
        m_docs->reaplica(Sistema::PV, id);
        QCOMPARE(existencia(m_artId), inicial - 5);
        const microsip::Cabecera c = m_docs->lee(Sistema::PV, id);
        QCOMPARE(c.importeNeto.unscaled() + c.totalImpuestos.unscaled(), 5000);
    }

    // Without confirming, the operation waits for the caller's commit or rollback.
    void sinConfirmar()
    {
        microsip::Documentos docs(m_db);
        docs.setConfirma(false);
        const qint64 antes = cuenta();
        const int id = docs.vende(venta());
        QCOMPARE(cuenta(), antes);
        docs.transaccion().rollback();
        QCOMPARE(cuenta(), antes);
        const int otro = docs.vende(venta());
        docs.transaccion().commit();
        QVERIFY(otro > id);
        QCOMPARE(m_docs->lee(Sistema::PV, otro).aplicado, u'S');
    }

    // The document commands against the extension's points triggers.
    void acumulacion()
    {
        microsip::aplicaEscenario(m_db, u"articulo"_s);
        microsip::puntosArticulo(m_db, m_artId, 3, std::nullopt);
        auto firma = [&](int id) {
            return valor(u"SELECT LIST(TIPO_DOCTO || NATURALEZA || VALOR_PUNTOS, ' ')"
                         " FROM (SELECT * FROM LAR_PUNTOS WHERE DOCTO_ID = ?"
                         " ORDER BY LAR_PUNTOS_ID)"_s,
                         id)
                .toString();
        };
        const int id = m_docs->vende(venta(Sistema::PV, 2));
        QCOMPARE(firma(id), u"VE6"_s);
        Documento aplicado = venta();
        aplicado.insertaAplicado = true;
        QCOMPARE(firma(m_docs->crea(aplicado)), QString());
        const int dev = m_docs->devuelve(Sistema::PV, id, {renglon(m_art, "1")});
        QCOMPARE(firma(dev), u"DS3"_s);
        m_docs->cancelaDevolucion(Sistema::PV, dev);
        QCOMPARE(firma(dev), QString());
        m_docs->cancela(Sistema::PV, id);
        QCOMPARE(firma(id), u"VE6 VS6"_s);
        m_docs->elimina(Sistema::PV, id);
        QCOMPARE(firma(id), QString());
        microsip::aplicaEscenario(m_db, u"apagado"_s);
    }

    // Days of a shop through the same steps: every sale applied in its period and
    // earning, and the same seed plays the same sales.
    void simulacion()
    {
        microsip::aplicaEscenario(m_db, u"importe"_s);
        const auto periodo = [&] {
            return valor(u"SELECT LIST(S || T || E || A || CLIENTE_ID || ':' || NETO, ' ')"
                         " FROM (SELECT * FROM (SELECT 'PV' S, TIPO_DOCTO T, ESTATUS E,"
                         " APLICADO A, CLIENTE_ID, IMPORTE_NETO NETO, FECHA, DOCTO_PV_ID"
                         " ID FROM DOCTOS_PV UNION ALL SELECT 'VE', TIPO_DOCTO, ESTATUS,"
                         " APLICADO, CLIENTE_ID, IMPORTE_NETO, FECHA, DOCTO_VE_ID FROM"
                         " DOCTOS_VE) WHERE FECHA BETWEEN ? AND DATE '2027-01-31'"
                         " ORDER BY ID)"_s,
                         QDate(2027, 1, 29))
                .toString();
        };
        microsip::OpcionesSimulacion op;
        op.ventas = 12;
        op.hasta = QDate(2027, 1, 31);
        op.dias = 3;
        const microsip::ResumenSimulacion r = microsip::simula(m_db, op);
        QCOMPARE(r.ventas, 12);
        QCOMPARE(r.rechazadas, 0);
        const QString primera = periodo();
        QCOMPARE(primera.count(u"NS"_s) + primera.count(u"CS"_s), 12 + r.devoluciones);
        // One row by amount for every sale and invoice that earned.
        QCOMPARE(valor(u"SELECT COUNT(*) FROM LAR_PUNTOS P JOIN DOCTOS_PV D ON"
                       " D.DOCTO_PV_ID = P.DOCTO_ID WHERE D.FECHA >= ? AND"
                       " P.NATURALEZA = 'E'"_s,
                       QDate(2027, 1, 29))
                     .toInt(),
                 primera.count(u"PVV"_s));
        ejecuta(u"DELETE FROM DOCTOS_PV WHERE FECHA >= '2027-01-29'"_s);
        ejecuta(u"DELETE FROM DOCTOS_VE WHERE FECHA >= '2027-01-29'"_s);
        microsip::simula(m_db, op);
        QCOMPARE(periodo(), primera);
        microsip::aplicaEscenario(m_db, u"apagado"_s);
    }

    void ajustesDePuntos()
    {
        microsip::aplicaEscenario(
            m_db,
            u"importe"_s,
            {{u"Factor Cantidad Pesos"_s, u"50"_s}, {u"Nueva clave"_s, u"x"_s}});
        QCOMPARE(microsip::leePuntos(m_db, u"Puntos Importe Activo"_s), u"S"_s);
        QCOMPARE(microsip::leePuntos(m_db, u"Factor Cantidad Pesos"_s), u"50"_s);
        QCOMPARE(microsip::leePuntos(m_db, u"Nueva clave"_s), u"x"_s);
        QCOMPARE(microsip::leePuntos(m_db, u"No existe"_s), std::nullopt);
        // Written again, not doubled: one row per key under one folder.
        microsip::aplicaEscenario(m_db, u"apagado"_s);
        QCOMPARE(valor(u"SELECT COUNT(*) - COUNT(DISTINCT NOMBRE) FROM LAR_REGISTRO"_s).toInt(), 0);
        QCOMPARE(microsip::leePuntos(m_db, u"Puntos Importe Activo"_s), u"N"_s);

        microsip::aplicaEscenario(m_db, u"demo"_s);
        const QString concepto = *microsip::leePuntos(m_db, u"Concepto Salida Puntos"_s);
        QCOMPARE(valor(u"SELECT C.NOMBRE || ':' || F.SERIE || F.CONSECUTIVO FROM"
                       " CONCEPTOS_IN C JOIN FOLIOS_CONCEPTOS F ON F.CONCEPTO_ID ="
                       " C.CONCEPTO_IN_ID WHERE C.CONCEPTO_IN_ID = ?"_s,
                       concepto.toInt())
                     .toString(),
                 u"Salida por puntos:SP1"_s);
        QVERIFY(valor(u"SELECT COUNT(*) FROM LIBRES_ARTICULOS WHERE PUNTOS > 0"_s).toInt() > 0);
        QVERIFY(valor(u"SELECT COUNT(*) FROM LIBRES_ARTICULOS WHERE VALOR_PUNTOS > 0"_s).toInt()
                > 0);

        // An article's points: a value left out keeps what the article had.
        microsip::puntosArticulo(m_db, m_artId, 7, 250);
        microsip::puntosArticulo(m_db, m_artId, std::nullopt, 300);
        QCOMPARE(valor(u"SELECT PUNTOS || '/' || VALOR_PUNTOS FROM LIBRES_ARTICULOS"
                       " WHERE ARTICULO_ID = ?"_s,
                       m_artId)
                     .toString(),
                 u"7/300"_s);

        QVERIFY(lartest::fallo([&] { microsip::aplicaEscenario(m_db, u"generoso"_s); })
                    .message()
                    .startsWith(u"El escenario 'generoso' no existe"_s));
        const lartest::EntornoPrueba sinExtension;
        fb::Database db;
        sinExtension.conectaEmpresa(db);
        QCOMPARE(lartest::fallo([&] { microsip::aplicaEscenario(db, u"articulo"_s); }).message(),
                 u"La empresa no tiene el esquema de Puntos Larvenos (falta LAR_REGISTRO): "
                 "actualice la base de datos primero."_s);
    }

    // The command line: a sale and its cancellation by folio; bad numbers refused.
    // The embedded engine opens a file for one process at a time, so this one lets go.
    void lineaDeOrdenes()
    {
        const qint64 antes = cuenta();
        m_db.disconnect();
        lartest::Salida r = lartest::corre({u"sell"_s,
                                            m_e->carpeta(),
                                            u"--sistema"_s,
                                            u"VE"_s,
                                            u"--cliente"_s,
                                            m_cliente,
                                            u"--renglon"_s,
                                            m_art + u":2:100"_s});
        QVERIFY2(r.codigo == 0, qPrintable(r.error));
        const QStringList salida = r.salida.split(u' ');
        const int id = salida.value(0).toInt();
        QCOMPARE(salida.value(1), u"VE"_s);
        r = lartest::corre(
            {u"cancel"_s, m_e->carpeta(), u"--sistema=VE"_s, u"--docto"_s, salida.value(2)});
        QVERIFY2(r.codigo == 0, qPrintable(r.error));
        r = lartest::corre({u"sell"_s, m_e->carpeta(), u"--renglon"_s, m_art + u":dos"_s});
        QCOMPARE(r.codigo, 2);
        QVERIFY(r.error.contains(
            u"El número de unidades del renglón '%1:dos' no es un número"_s.arg(m_art)));
        r = lartest::corre(
            {u"sell"_s, m_e->carpeta(), u"--renglon"_s, m_art + u":184467440737096"_s});
        QVERIFY(r.codigo > 0);
        QVERIFY(r.error.contains(u"El número 184467440737096 es demasiado grande"_s));

        m_e->conectaEmpresa(m_db);
        const microsip::Cabecera c = m_docs->lee(Sistema::VE, id);
        QCOMPARE(c.importeNeto, fb::Decimal(20000, 2));
        QCOMPARE(c.estatus, u'C');
        // The sale and its inventory document, nothing of the refused one.
        QCOMPARE(cuenta(), antes + 2);
    }

    // Stations selling at once through the server never share a folio; a folio
    // given by hand is refused when taken, and the next ones follow it.
    void foliosConcurrentes()
    {
        if (!lartest::serverAvailable())
            QSKIP("sin servidor de pruebas (LAR_FB_PORT)");
        lartest::OpcionesPrueba op;
        op.servidor = true;
        op.sembrado = true;
        const lartest::EntornoPrueba prueba(op);
        const QStringList vende{u"sell"_s,
                                prueba.carpeta(),
                                u"--cliente"_s,
                                m_cliente,
                                u"--renglon"_s,
                                m_servicio + u":1:10"_s,
                                u"--password"_s,
                                lartest::serverPassword()};
        // "ID PV FOLIO ..." of each sale.
        QStringList folios;
        for (int ronda = 0; ronda < 2; ++ronda) {
            std::vector<std::unique_ptr<QProcess>> procesos;
            for (int i = 0; i < 4; ++i) {
                procesos.push_back(std::make_unique<QProcess>());
                procesos.back()->start(lartest::microsipSim(), vende);
            }
            for (auto &p : procesos) {
                QVERIFY(p->waitForFinished(120000));
                QVERIFY2(p->exitCode() == 0, p->readAllStandardError().constData());
                folios << QString::fromUtf8(p->readAllStandardOutput()).section(u' ', 2, 2);
            }
        }
        folios.sort();
        const QStringList todos = folios;
        folios.removeDuplicates();
        QVERIFY2(folios.size() == 8 && !folios.contains(QString()), qPrintable(todos.join(u' ')));

        const lartest::Salida tomado
            = lartest::corre(vende + QStringList{u"--folio"_s, folios.first()});
        QCOMPARE(tomado.codigo, 1);
        QVERIFY2(
            tomado.error.contains(
                u"El folio %1 ya lo tiene otro documento de punto de venta."_s.arg(folios.first())),
            qPrintable(tomado.error));
        QCOMPARE(lartest::corre(vende + QStringList{u"--folio"_s, u"A00090000"_s}).codigo, 0);
        QCOMPARE(lartest::corre(vende).salida.section(u' ', 2, 2), u"A00090001"_s);
    }
};

LAR_TEST_GUILESS_MAIN(TestMicrosipDocumentos)
#include "tst_microsip_documentos.moc"
