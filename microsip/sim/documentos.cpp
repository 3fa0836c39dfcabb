#include "documentos.h"

#include <limits>

#include "inventario_p.h"
#include "sql_p.h"

#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QHash>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QThread>

namespace microsip {

QString claveSistema(Sistema s)
{
    return s == Sistema::PV ? QStringLiteral("PV") : QStringLiteral("VE");
}

Sistema sistemaDe(const QString &clave)
{
    const QString c = clave.trimmed().toUpper();
    if (c == u"PV")
        return Sistema::PV;
    if (c == u"VE")
        return Sistema::VE;
    throw fb::Error(
        QStringLiteral("El sistema '%1' no existe: use PV (punto de venta) o VE (ventas).")
            .arg(clave));
}

namespace {

__extension__ typedef __int128 Entero128;

[[noreturn]] void falla(const QString &mensaje)
{
    throw fb::Error(mensaje);
}

// n / d rounded half away from zero; d > 0. A quotient beyond 64 bits is an
// amount no column can hold: refused instead of cut.
qint64 divide(Entero128 n, Entero128 d)
{
    Entero128 q = n / d;
    const Entero128 r = n % d;
    if ((r < 0 ? -r : r) >= d - (r < 0 ? -r : r))
        q += n < 0 ? -1 : 1;
    if (q > std::numeric_limits<qint64>::max() || q < std::numeric_limits<qint64>::min())
        falla(QStringLiteral("Un importe calculado del documento es demasiado grande para "
                             "guardarse."));
    return qint64(q);
}

qint64 aEscala(const fb::Decimal &v, int escala)
{
    return v.rescaled(escala).unscaled();
}

QVariant dec(qint64 unscaled, int escala)
{
    return QVariant::fromValue(fb::Decimal(unscaled, escala));
}

QChar primera(const QString &s)
{
    return s.isEmpty() ? QChar() : s.at(0);
}

struct Tablas
{
    QString cab, det, id, detId, nombre;
};

Tablas tablas(Sistema s)
{
    if (s == Sistema::PV)
        return {QStringLiteral("DOCTOS_PV"),
                QStringLiteral("DOCTOS_PV_DET"),
                QStringLiteral("DOCTO_PV_ID"),
                QStringLiteral("DOCTO_PV_DET_ID"),
                QStringLiteral("de punto de venta")};
    return {QStringLiteral("DOCTOS_VE"),
            QStringLiteral("DOCTOS_VE_DET"),
            QStringLiteral("DOCTO_VE_ID"),
            QStringLiteral("DOCTO_VE_DET_ID"),
            QStringLiteral("de ventas")};
}

// Folio series of each document type.
QString serie(Sistema s, QChar tipo)
{
    if (s == Sistema::PV)
        return tipo == u'V'   ? QStringLiteral("A")
               : tipo == u'D' ? QStringLiteral("DV")
                              : QStringLiteral("G");
    return tipo == u'D' ? QStringLiteral("DF") : QString(tipo);
}

// Nature of the stock movement a document makes when applied: 'S' exit, 'E' entry,
// none for the types that don't deliver goods.
QChar naturaleza(Sistema s, QChar tipo)
{
    if (tipo == u'D')
        return u'E';
    if ((s == Sistema::PV && tipo == u'V') || (s == Sistema::VE && (tipo == u'F' || tipo == u'R')))
        return u'S';
    return QChar();
}

// A line ready to be written.
struct Linea
{
    int articuloId = 0;
    QString clave;
    bool almacenable = true;
    qint64 unidades5 = 0;    // NUMERIC(18,5)
    qint64 precio6 = 0;      // without tax
    qint64 precioImpto6 = 0; // with tax (point of sale)
    qint64 tasa6 = 16000000; // percent
    int posicion = 0;
    QChar rol = u'N';
    qint64 neto2 = 0;
    qint64 impuesto2 = 0;
};

} // namespace

struct Documentos::Impl
{
    explicit Impl(fb::Database &d)
        : db(d)
        , tr(&d)
    {}

    fb::Database &db;
    fb::Transaction tr;
    std::optional<bool> sucursalEnDoctos;
    bool hayContador = false;

    std::unique_ptr<fb::Query> consulta(const QString &sql)
    {
        auto q = std::make_unique<fb::Query>(&db, &tr);
        q->setTrimChars(true);
        q->setSql(sql);
        return q;
    }

    // The first column of the first row; invalid when there is no row.
    QVariant uno(const QString &sql, const QList<std::pair<QString, QVariant>> &params = {})
    {
        fb::Query q(&db, &tr);
        q.setTrimChars(true);
        q.setSql(sql);
        for (const auto &[n, v] : params)
            q.bind(n, v);
        q.open();
        return q.eof() ? QVariant() : q.field(0).toVariant();
    }

    void ejecuta(const QString &sql, const QList<std::pair<QString, QVariant>> &params = {})
    {
        fb::Query q(&db, &tr);
        q.setSql(sql);
        for (const auto &[n, v] : params)
            q.bind(n, v);
        q.execute();
    }

    bool conSucursal()
    {
        if (!sucursalEnDoctos)
            sucursalEnDoctos = detail::existeCampo(
                db, tr, QStringLiteral("DOCTOS_PV"), QStringLiteral("SUCURSAL_ID"));
        return *sucursalEnDoctos;
    }

    Cabecera lee(Sistema s, int id)
    {
        const Tablas t = tablas(s);
        auto cq = consulta(QStringLiteral("SELECT TIPO_DOCTO, ESTATUS, APLICADO, FOLIO, FECHA,"
                                          " CLIENTE_ID, IMPORTE_NETO, TOTAL_IMPUESTOS FROM %1"
                                          " WHERE %2 = :id")
                               .arg(t.cab, t.id));
        fb::Query &q = *cq;
        q.bind(QStringLiteral("id"), id);
        q.open();
        if (q.eof())
            falla(QStringLiteral("No existe el documento %1 %2.").arg(id).arg(t.nombre));
        Cabecera c;
        c.id = id;
        c.sistema = s;
        c.tipo = primera(q.field(0).toString());
        c.estatus = primera(q.field(1).toString());
        c.aplicado = primera(q.field(2).toString());
        c.folio = q.field(3).toString();
        c.fecha = q.field(4).toDate();
        c.clienteId = q.field(5).isNull() ? 0 : q.field(5).toInt();
        c.importeNeto = q.field(6).toDecimal();
        c.totalImpuestos = q.field(7).toDecimal();
        q.close();
        c.doctoInId = movimientos(s, id).value(0);
        return c;
    }

    // The inventory documents that moved the stock of a document, newest first.
    QList<int> movimientos(Sistema s, int id)
    {
        auto cq = consulta(QStringLiteral(
            "SELECT DOCTO_DEST_ID FROM DOCTOS_ENTRE_SIS WHERE DOCTO_FTE_ID = :id"
            " AND CLAVE_SIS_FTE = :s AND CLAVE_SIS_DEST = 'IN' ORDER BY DOCTO_DEST_ID DESC"));
        fb::Query &q = *cq;
        q.bind(QStringLiteral("id"), id);
        q.bind(QStringLiteral("s"), claveSistema(s));
        QList<int> ids;
        for (q.open(); !q.eof(); q.next())
            ids << q.field(0).toInt();
        return ids;
    }

    int cliente(const Documento &d)
    {
        if (d.clienteId > 0) {
            if (!uno(QStringLiteral("SELECT CLIENTE_ID FROM CLIENTES WHERE CLIENTE_ID = :c"),
                     {{QStringLiteral("c"), d.clienteId}})
                     .isValid())
                falla(QStringLiteral("No existe el cliente %1.").arg(d.clienteId));
            return d.clienteId;
        }
        if (!d.claveCliente.isEmpty()) {
            const QVariant id
                = uno(QStringLiteral("SELECT FIRST 1 CLIENTE_ID FROM CLAVES_CLIENTES"
                                     " WHERE CLAVE_CLIENTE = :c ORDER BY CLAVE_CLIENTE_ID"),
                      {{QStringLiteral("c"), d.claveCliente}});
            if (!id.isValid())
                falla(QStringLiteral("No existe el cliente con clave '%1'.").arg(d.claveCliente));
            return id.toInt();
        }
        if (d.sistema == Sistema::VE)
            falla(QStringLiteral("Indique el cliente del documento de ventas."));
        return uno(QStringLiteral("SELECT FIRST 1 CLIENTE_ID FROM CLIENTES"
                                  " WHERE NOMBRE = 'Público en general'"))
            .toInt();
    }

    int catalogo(int dado, const QString &tabla, const QString &columna, const QString &que)
    {
        if (dado > 0) {
            if (!uno(QStringLiteral("SELECT %1 FROM %2 WHERE %1 = :id").arg(columna, tabla),
                     {{QStringLiteral("id"), dado}})
                     .isValid())
                falla(QStringLiteral("No existe %1 %2.").arg(que).arg(dado));
            return dado;
        }
        return uno(QStringLiteral("SELECT MIN(%1) FROM %2").arg(columna, tabla)).toInt();
    }

    // The highest number of the series among the documents committed so far.
    qint64 ultimoUsado(fb::Transaction &t, const Tablas &tb, const QString &prefijo)
    {
        auto maximo = [&](const QString &sql, const QString &patron) {
            fb::Query q(&db, &t);
            q.setTrimChars(true);
            q.setSql(sql.arg(tb.cab));
            q.bind(QStringLiteral("p"), prefijo);
            if (!patron.isEmpty())
                q.bind(QStringLiteral("patron"), patron);
            q.open();
            return q.eof() ? QString() : q.field(0).toString().trimmed();
        };
        QString ultimo
            = maximo(QStringLiteral("SELECT MAX(FOLIO) FROM %1 WHERE FOLIO STARTING WITH :p"), {});
        static const QRegularExpression reNumero(QStringLiteral("^[0-9]+$"));
        if (!ultimo.isEmpty() && !reNumero.match(ultimo.mid(prefijo.size())).hasMatch()) {
            // Some folio of another series starts the same: count only this one's.
            ultimo = maximo(QStringLiteral("SELECT MAX(FOLIO) FROM %1 WHERE FOLIO STARTING WITH :p"
                                           " AND FOLIO SIMILAR TO :patron"),
                            prefijo + QStringLiteral("[0-9]+ *"));
        }
        return ultimo.isEmpty() ? 0 : ultimo.mid(prefijo.size()).toLongLong();
    }

    // A company made before the counters existed gets them (another process may
    // be creating them at the same moment).
    void aseguraContador()
    {
        if (hayContador)
            return;
        auto existe = [this] {
            fb::Transaction t(&db);
            fb::TransactionGuard guardia(t);
            const bool hay = detail::existeTabla(db, t, QStringLiteral("SIM_FOLIOS"));
            guardia.commit();
            return hay;
        };
        if (!existe()) {
            try {
                detail::ejecutaScript(db, QStringLiteral("sim_folios"));
            } catch (const fb::Error &) {
                // Another process's table may still be on its way to its commit.
                int espera = 0;
                while (!existe()) {
                    if (++espera > 100)
                        throw;
                    QThread::msleep(20);
                }
            }
        }
        hayContador = true;
    }

    // The next folio of the document type's series, taken from the series' counter
    // row in a short transaction of its own: the row stays locked only while it is
    // taken, and a station that finds it locked tries again. Documents numbered
    // past the counter (a folio given by hand, the demo data) move it forward.
    QString siguienteFolio(Sistema s, QChar tipo)
    {
        aseguraContador();
        const Tablas tb = tablas(s);
        const QString prefijo = serie(s, tipo);
        for (int intento = 1;; ++intento) {
            fb::Transaction t(&db);
            try {
                fb::TransactionGuard guardia(t);
                const qint64 usado = ultimoUsado(t, tb, prefijo);
                fb::Query q(&db, &t);
                q.setSql(QStringLiteral(
                    "UPDATE SIM_FOLIOS SET CONSECUTIVO = MAXVALUE(CONSECUTIVO, :usado) + 1"
                    " WHERE SISTEMA = :s AND SERIE = :p RETURNING CONSECUTIVO"));
                q.bind(QStringLiteral("usado"), usado);
                q.bind(QStringLiteral("s"), claveSistema(s));
                q.bind(QStringLiteral("p"), prefijo);
                q.execute();
                qint64 n = q.field(0).isNull() ? 0 : q.field(0).toVariant().toLongLong();
                if (n == 0) {
                    n = usado + 1;
                    fb::Query alta(&db, &t);
                    alta.setSql(QStringLiteral("INSERT INTO SIM_FOLIOS (SISTEMA, SERIE,"
                                               " CONSECUTIVO) VALUES (:s, :p, :n)"));
                    alta.bind(QStringLiteral("s"), claveSistema(s));
                    alta.bind(QStringLiteral("p"), prefijo);
                    alta.bind(QStringLiteral("n"), n);
                    alta.execute();
                }
                guardia.commit();
                return detail::folio(prefijo, n);
            } catch (const fb::Error &e) {
                const QList<long> ocupado{fb::isc::LockConflict,
                                          fb::isc::DeadLock,
                                          fb::isc::UpdateConflict,
                                          fb::isc::UniqueKeyViolation,
                                          fb::isc::NoDuplicates};
                if (!ocupado.contains(e.iscCode()) || intento >= 500)
                    throw;
            }
            QThread::msleep(2 + QRandomGenerator::global()->bounded(8));
        }
    }

    // A folio given by hand: refused when a document of the system has it already.
    void verificaFolioLibre(Sistema s, const QString &folio)
    {
        const Tablas tb = tablas(s);
        if (uno(QStringLiteral("SELECT FIRST 1 %1 FROM %2 WHERE FOLIO = :f").arg(tb.id, tb.cab),
                {{QStringLiteral("f"), folio}})
                .isValid())
            falla(
                QStringLiteral("El folio %1 ya lo tiene otro documento %2.").arg(folio, tb.nombre));
    }

    Linea linea(Sistema s, const Renglon &r)
    {
        Linea l;
        int articulo = r.articuloId;
        if (articulo <= 0) {
            if (r.clave.isEmpty())
                falla(QStringLiteral("Indique el artículo del renglón por su id o su clave."));
            const QVariant id
                = uno(QStringLiteral("SELECT FIRST 1 ARTICULO_ID FROM CLAVES_ARTICULOS"
                                     " WHERE CLAVE_ARTICULO = :c ORDER BY CLAVE_ARTICULO_ID"),
                      {{QStringLiteral("c"), r.clave}});
            if (!id.isValid())
                falla(QStringLiteral("No existe el artículo con clave '%1'.").arg(r.clave));
            articulo = id.toInt();
        }
        auto cq = consulta(QStringLiteral(
            "SELECT A.ES_ALMACENABLE,"
            " (SELECT FIRST 1 C.CLAVE_ARTICULO FROM CLAVES_ARTICULOS C"
            "   LEFT JOIN ROLES_CLAVES_ARTICULOS R ON R.ROL_CLAVE_ART_ID = C.ROL_CLAVE_ART_ID"
            "   WHERE C.ARTICULO_ID = A.ARTICULO_ID ORDER BY R.ES_PPAL DESC, C.CLAVE_ARTICULO_ID),"
            " (SELECT FIRST 1 P.PRECIO FROM PRECIOS_ARTICULOS P WHERE P.ARTICULO_ID = A.ARTICULO_ID"
            "   ORDER BY P.PRECIO_EMPRESA_ID, P.PRECIO_ARTICULO_ID)"
            " FROM ARTICULOS A WHERE A.ARTICULO_ID = :a"));
        fb::Query &q = *cq;
        q.bind(QStringLiteral("a"), articulo);
        q.open();
        if (q.eof())
            falla(QStringLiteral("No existe el artículo %1.").arg(articulo));
        l.articuloId = articulo;
        l.almacenable = q.field(0).toString() != u"N";
        l.clave = r.clave.isEmpty() ? q.field(1).toString() : r.clave;
        const bool conLista = !q.field(2).isNull();
        const qint64 lista6 = conLista ? aEscala(q.field(2).toDecimal(), 6) : 0;
        q.close();

        l.unidades5 = aEscala(r.unidades, 5);
        if (l.unidades5 <= 0)
            falla(QStringLiteral("Las unidades del artículo %1 deben ser mayores que cero.")
                      .arg(l.clave));
        l.tasa6 = aEscala(r.tasaImpuesto, 6);
        if (l.tasa6 < 0)
            falla(QStringLiteral("La tasa de impuesto no puede ser negativa."));
        const Entero128 factor = Entero128(100000000) + l.tasa6; // 1 + rate, scale 8
        if (r.precio) {
            const qint64 p6 = aEscala(*r.precio, 6);
            if (p6 < 0)
                falla(QStringLiteral("El precio del artículo %1 no puede ser negativo.")
                          .arg(l.clave));
            if (s == Sistema::PV) {
                l.precioImpto6 = p6;
                l.precio6 = divide(Entero128(p6) * 100000000, factor);
            } else {
                l.precio6 = p6;
            }
        } else {
            if (!conLista)
                falla(QStringLiteral("El artículo %1 no tiene precio de lista: indique el precio.")
                          .arg(l.clave));
            l.precio6 = lista6;
            // The shelf price with tax, in cents, as the point of sale shows it.
            l.precioImpto6
                = divide(Entero128(lista6) * factor, Entero128(100000000) * 10000) * 10000;
        }
        l.rol = r.rol;
        l.posicion = r.posicion;
        // Amounts: units (scale 5) x price (scale 6) is scale 11; cents are scale 2.
        if (s == Sistema::PV) {
            const qint64 total2 = divide(Entero128(l.unidades5) * l.precioImpto6, 1000000000);
            l.neto2 = divide(Entero128(total2) * 100000000, factor);
            l.impuesto2 = total2 - l.neto2;
        } else {
            l.neto2 = divide(Entero128(l.unidades5) * l.precio6, 1000000000);
            l.impuesto2 = divide(Entero128(l.neto2) * l.tasa6, 100000000);
        }
        return l;
    }

    QList<Linea> lineas(Sistema s, const QList<Renglon> &renglones)
    {
        QList<Linea> v;
        int siguiente = 1;
        for (const Renglon &r : renglones) {
            Linea l = linea(s, r);
            if (l.posicion == -1)
                l.posicion = siguiente;
            if (l.posicion > 0)
                siguiente = std::max(siguiente, l.posicion + 1);
            v << l;
        }
        return v;
    }

    void insertaLineas(Sistema s, int id, const QList<Linea> &v)
    {
        fb::Query q(&db, &tr);
        if (s == Sistema::PV)
            q.setSql(QStringLiteral(
                "INSERT INTO DOCTOS_PV_DET (DOCTO_PV_DET_ID, DOCTO_PV_ID, ARTICULO_ID, "
                "CLAVE_ARTICULO,"
                " UNIDADES, POSICION, PRECIO_UNITARIO, PRECIO_UNITARIO_IMPTO, ROL)"
                " VALUES (-1, :id, :articulo, :clave, :unidades, :posicion, :precio, :precio_impto,"
                " :rol)"));
        else
            q.setSql(QStringLiteral(
                "INSERT INTO DOCTOS_VE_DET (DOCTO_VE_DET_ID, DOCTO_VE_ID, ARTICULO_ID, "
                "CLAVE_ARTICULO,"
                " UNIDADES, POSICION, PRECIO_UNITARIO)"
                " VALUES (-1, :id, :articulo, :clave, :unidades, :posicion, :precio)"));
        for (const Linea &l : v) {
            q.bind(QStringLiteral("id"), id);
            q.bind(QStringLiteral("articulo"), l.articuloId);
            q.bind(QStringLiteral("clave"), l.clave.isEmpty() ? QVariant() : QVariant(l.clave));
            q.bind(QStringLiteral("unidades"), dec(l.unidades5, 5));
            q.bind(QStringLiteral("posicion"), l.posicion);
            q.bind(QStringLiteral("precio"), dec(l.precio6, 6));
            if (s == Sistema::PV) {
                q.bind(QStringLiteral("precio_impto"), dec(l.precioImpto6, 6));
                q.bind(QStringLiteral("rol"), QString(l.rol));
            }
            q.execute();
        }
    }

    void escribeTotales(Sistema s, int id, const QList<Linea> &v, const Documento *d = nullptr)
    {
        qint64 neto = 0;
        qint64 impuestos = 0;
        for (const Linea &l : v) {
            neto += l.neto2;
            impuestos += l.impuesto2;
        }
        if (d && d->importeNeto)
            neto = aEscala(*d->importeNeto, 2);
        if (d && d->totalImpuestos)
            impuestos = aEscala(*d->totalImpuestos, 2);
        const Tablas t = tablas(s);
        ejecuta(QStringLiteral("UPDATE %1 SET IMPORTE_NETO = :neto, TOTAL_IMPUESTOS = :impuestos"
                               " WHERE %2 = :id")
                    .arg(t.cab, t.id),
                {{QStringLiteral("neto"), dec(neto, 2)},
                 {QStringLiteral("impuestos"), dec(impuestos, 2)},
                 {QStringLiteral("id"), id}});
    }

    int crea(const Documento &d)
    {
        const Sistema s = d.sistema;
        const QChar tipo = d.tipo.isNull() ? (s == Sistema::PV ? u'V' : u'F') : d.tipo.toUpper();
        if (!tipo.isLetter() || tipo.unicode() > 'Z')
            falla(QStringLiteral("El tipo de documento '%1' no es válido.").arg(tipo));
        if (s == Sistema::PV && tipo != u'V' && tipo != u'D' && tipo != u'F')
            falla(QStringLiteral(
                      "El tipo de documento '%1' no existe en el punto de venta: V, D o F.")
                      .arg(tipo));
        const int clienteId = cliente(d);
        const int almacen = d.almacenId > 0 ? catalogo(d.almacenId,
                                                       QStringLiteral("ALMACENES"),
                                                       QStringLiteral("ALMACEN_ID"),
                                                       QStringLiteral("el almacén"))
                                            : detail::almacenPredeterminado(db, tr);
        const QString folio
            = d.folio.isEmpty() ? siguienteFolio(s, tipo) : d.folio.trimmed().toUpper();
        if (folio.size() > 9)
            falla(QStringLiteral("El folio '%1' tiene más de 9 caracteres.").arg(folio));
        if (!d.folio.isEmpty())
            verificaFolioLibre(s, folio);
        const QList<Linea> v = lineas(s, d.renglones);
        const QDate fecha = d.fecha.isValid() ? d.fecha : QDate::currentDate();
        const QTime hora = d.hora.isValid() ? d.hora : QTime::currentTime();
        const int sucursal = conSucursal() ? detail::sucursalMatriz(db, tr) : 0;
        auto idONulo = [](int id) {
            return id > 0 ? QVariant(id) : QVariant();
        };

        fb::Query q(&db, &tr);
        QString extra = conSucursal() ? QStringLiteral(", SUCURSAL_ID") : QString();
        QString extraValor = conSucursal() ? QStringLiteral(", :sucursal") : QString();
        if (s == Sistema::PV) {
            const int cajero = catalogo(d.cajeroId,
                                        QStringLiteral("CAJEROS"),
                                        QStringLiteral("CAJERO_ID"),
                                        QStringLiteral("el cajero"));
            q.setSql(QStringLiteral(
                         "INSERT INTO DOCTOS_PV (DOCTO_PV_ID, TIPO_DOCTO, ESTATUS, APLICADO, FOLIO,"
                         " FECHA, HORA, CLIENTE_ID, CAJERO_ID, CAJA_ID, ALMACEN_ID, SISTEMA_ORIGEN,"
                         " TOTAL_IMPUESTOS, IMPORTE_NETO, TIPO_CAMBIO%1)"
                         " VALUES (-1, :tipo, 'N', :aplicado, :folio, :fecha, :hora, :cliente,"
                         " :cajero, :caja, :almacen, 'PV', 0, 0, 1%2) RETURNING DOCTO_PV_ID")
                         .arg(extra, extraValor));
            q.bind(QStringLiteral("hora"), hora);
            q.bind(QStringLiteral("cajero"), idONulo(cajero));
            q.bind(QStringLiteral("caja"), d.cajaId);
        } else {
            const int vendedor = catalogo(d.vendedorId,
                                          QStringLiteral("VENDEDORES"),
                                          QStringLiteral("VENDEDOR_ID"),
                                          QStringLiteral("el vendedor"));
            q.setSql(
                QStringLiteral(
                    "INSERT INTO DOCTOS_VE (DOCTO_VE_ID, TIPO_DOCTO, ESTATUS, APLICADO, FOLIO,"
                    " FECHA, CLIENTE_ID, ALMACEN_ID, VENDEDOR_ID, SISTEMA_ORIGEN, TOTAL_IMPUESTOS,"
                    " IMPORTE_NETO, TIPO_CAMBIO%1)"
                    " VALUES (-1, :tipo, 'N', :aplicado, :folio, :fecha, :cliente, :almacen,"
                    " :vendedor, 'VE', 0, 0, 1%2) RETURNING DOCTO_VE_ID")
                    .arg(extra, extraValor));
            q.bind(QStringLiteral("vendedor"), idONulo(vendedor));
        }
        q.bind(QStringLiteral("tipo"), QString(tipo));
        q.bind(QStringLiteral("aplicado"),
               d.insertaAplicado ? QStringLiteral("S") : QStringLiteral("N"));
        q.bind(QStringLiteral("folio"), folio);
        q.bind(QStringLiteral("fecha"), fecha);
        q.bind(QStringLiteral("cliente"), idONulo(clienteId));
        q.bind(QStringLiteral("almacen"), idONulo(almacen));
        if (conSucursal())
            q.bind(QStringLiteral("sucursal"), idONulo(sucursal));
        q.execute();
        const int id = q.field(0).toInt();
        insertaLineas(s, id, v);
        escribeTotales(s, id, v, &d);
        return id;
    }

    void aplica(Sistema s, int id, bool mueve)
    {
        const Cabecera c = lee(s, id);
        if (c.estatus == u'C')
            falla(QStringLiteral("El documento %1 está cancelado.").arg(c.folio));
        if (c.aplicado == u'S')
            falla(QStringLiteral("El documento %1 ya está aplicado.").arg(c.folio));
        const Tablas t = tablas(s);
        ejecuta(QStringLiteral("UPDATE %1 SET APLICADO = 'S' WHERE %2 = :id").arg(t.cab, t.id),
                {{QStringLiteral("id"), id}});
        if (mueve)
            mueveExistencias(s, id, c);
    }

    void mueveExistencias(Sistema s, int id, const Cabecera &c)
    {
        const QChar nat = naturaleza(s, c.tipo);
        if (nat.isNull())
            return;
        // Applied again after being unapplied: the same inventory document moves again.
        for (const int in : movimientos(s, id)) {
            const QVariant estado = uno(QStringLiteral("SELECT CANCELADO || APLICADO FROM DOCTOS_IN"
                                                       " WHERE DOCTO_IN_ID = :id"),
                                        {{QStringLiteral("id"), in}});
            if (estado.toString() == u"NN") {
                ejecuta(
                    QStringLiteral("UPDATE DOCTOS_IN SET APLICADO = 'S' WHERE DOCTO_IN_ID = :id"),
                    {{QStringLiteral("id"), in}});
                return;
            }
            if (estado.toString() == u"NS")
                return;
        }
        const Tablas t = tablas(s);
        const QVariant almacen
            = uno(QStringLiteral("SELECT ALMACEN_ID FROM %1 WHERE %2 = :id").arg(t.cab, t.id),
                  {{QStringLiteral("id"), id}});
        if (!almacen.isValid() || almacen.isNull())
            return;
        auto clq = consulta(
            QStringLiteral("SELECT L.ARTICULO_ID, L.CLAVE_ARTICULO, L.UNIDADES,"
                           " (SELECT COSTO_ULTIMA_COMPRA FROM GET_ULTCOM_ART(L.ARTICULO_ID))"
                           " FROM %1 L JOIN ARTICULOS A ON A.ARTICULO_ID = L.ARTICULO_ID"
                           " WHERE L.%2 = :id AND A.ES_ALMACENABLE <> 'N'%3"
                           " ORDER BY L.POSICION, L.%4")
                .arg(t.det,
                     t.id,
                     s == Sistema::PV ? QStringLiteral(" AND L.ROL <> 'J'") : QString(),
                     t.detId));
        fb::Query &lq = *clq;
        lq.bind(QStringLiteral("id"), id);
        struct Mov
        {
            int articulo;
            QVariant clave;
            fb::Decimal unidades;
            fb::Decimal costo;
        };
        QList<Mov> movs;
        for (lq.open(); !lq.eof(); lq.next())
            movs << Mov{lq.field(0).toInt(),
                        lq.field(1).toVariant(),
                        lq.field(2).toDecimal(),
                        lq.field(3).isNull() ? fb::Decimal() : lq.field(3).toDecimal()};
        lq.close();
        if (movs.isEmpty())
            return;

        const int concepto
            = nat == u'S'
                  ? detail::concepto(
                      db, tr, QStringLiteral("Salida por venta"), u'S', QStringLiteral("SV"))
                  : detail::concepto(
                      db, tr, QStringLiteral("Entrada por devolución"), u'E', QStringLiteral("ED"));
        const QString folio = detail::tomaFolios(db, tr, concepto);
        fb::Query q(&db, &tr);
        q.setSql(QStringLiteral(
                     "INSERT INTO DOCTOS_IN (DOCTO_IN_ID, ALMACEN_ID, CONCEPTO_IN_ID, FOLIO,"
                     " NATURALEZA_CONCEPTO, FECHA, CANCELADO, APLICADO, DESCRIPCION, FORMA_EMITIDA,"
                     " CONTABILIZADO, SISTEMA_ORIGEN%1)"
                     " VALUES (-1, :almacen, :concepto, :folio, :nat, :fecha, 'N', 'N', :desc, 'N',"
                     " 'N', :sistema%2) RETURNING DOCTO_IN_ID")
                     .arg(conSucursal() ? QStringLiteral(", SUCURSAL_ID") : QString(),
                          conSucursal() ? QStringLiteral(", :sucursal") : QString()));
        q.bind(QStringLiteral("almacen"), almacen);
        q.bind(QStringLiteral("concepto"), concepto);
        q.bind(QStringLiteral("folio"), folio);
        q.bind(QStringLiteral("nat"), QString(nat));
        q.bind(QStringLiteral("fecha"), c.fecha);
        q.bind(QStringLiteral("desc"), QStringLiteral("Documento %1 %2").arg(t.nombre, c.folio));
        q.bind(QStringLiteral("sistema"), claveSistema(s));
        if (conSucursal()) {
            const int suc = detail::sucursalMatriz(db, tr);
            q.bind(QStringLiteral("sucursal"), suc > 0 ? QVariant(suc) : QVariant());
        }
        q.execute();
        const int in = q.field(0).toInt();
        q.setSql(QStringLiteral(
            "INSERT INTO DOCTOS_IN_DET (DOCTO_IN_DET_ID, DOCTO_IN_ID, ALMACEN_ID, CONCEPTO_IN_ID,"
            " CLAVE_ARTICULO, ARTICULO_ID, TIPO_MOVTO, UNIDADES, COSTO_UNITARIO, COSTO_TOTAL,"
            " METODO_COSTEO, CANCELADO, APLICADO, COSTEO_PEND, PEDIMENTO_PEND, ROL, FECHA)"
            " VALUES (-1, :in, :almacen, :concepto, :clave, :articulo, :nat, :unidades, :costo, 0,"
            " 'C', 'N', 'N', 'N', 'N', 'N', :fecha)"));
        for (const Mov &m : std::as_const(movs)) {
            q.bind(QStringLiteral("in"), in);
            q.bind(QStringLiteral("almacen"), almacen);
            q.bind(QStringLiteral("concepto"), concepto);
            q.bind(QStringLiteral("clave"), m.clave);
            q.bind(QStringLiteral("articulo"), m.articulo);
            q.bind(QStringLiteral("nat"), QString(nat));
            q.bind(QStringLiteral("unidades"), QVariant::fromValue(m.unidades));
            q.bind(QStringLiteral("costo"), QVariant::fromValue(m.costo));
            q.bind(QStringLiteral("fecha"), c.fecha);
            q.execute();
        }
        ejecuta(QStringLiteral("INSERT INTO DOCTOS_ENTRE_SIS (DOCTO_FTE_ID, CLAVE_SIS_FTE,"
                               " DOCTO_DEST_ID, CLAVE_SIS_DEST, TIPO_DOCTO)"
                               " VALUES (:id, :s, :in, 'IN', :nat)"),
                {{QStringLiteral("id"), id},
                 {QStringLiteral("s"), claveSistema(s)},
                 {QStringLiteral("in"), in},
                 {QStringLiteral("nat"), QString(nat)}});
        // Microsip's inventory trigger costs the lines and moves the stock here.
        ejecuta(QStringLiteral("UPDATE DOCTOS_IN SET APLICADO = 'S' WHERE DOCTO_IN_ID = :id"),
                {{QStringLiteral("id"), in}});
    }

    void cancela(Sistema s, int id)
    {
        const Cabecera c = lee(s, id);
        if (c.estatus == u'C')
            falla(QStringLiteral("El documento %1 ya está cancelado.").arg(c.folio));
        const Tablas t = tablas(s);
        ejecuta(QStringLiteral("UPDATE %1 SET ESTATUS = 'C' WHERE %2 = :id").arg(t.cab, t.id),
                {{QStringLiteral("id"), id}});
        for (const int in : movimientos(s, id))
            ejecuta(QStringLiteral("UPDATE DOCTOS_IN SET CANCELADO = 'S' WHERE DOCTO_IN_ID = :id"
                                   " AND CANCELADO = 'N'"),
                    {{QStringLiteral("id"), in}});
    }

    void desaplica(Sistema s, int id)
    {
        const Cabecera c = lee(s, id);
        if (c.estatus == u'C')
            falla(QStringLiteral("El documento %1 está cancelado.").arg(c.folio));
        if (c.aplicado != u'S')
            falla(QStringLiteral("El documento %1 no está aplicado.").arg(c.folio));
        const Tablas t = tablas(s);
        ejecuta(QStringLiteral("UPDATE %1 SET APLICADO = 'N' WHERE %2 = :id").arg(t.cab, t.id),
                {{QStringLiteral("id"), id}});
        for (const int in : movimientos(s, id))
            ejecuta(QStringLiteral("UPDATE DOCTOS_IN SET APLICADO = 'N' WHERE DOCTO_IN_ID = :id"
                                   " AND APLICADO = 'S'"),
                    {{QStringLiteral("id"), in}});
    }

    // Takes the stock of a document back and removes its inventory documents.
    void quitaMovimientos(Sistema s, int id)
    {
        for (const int in : movimientos(s, id)) {
            ejecuta(QStringLiteral("UPDATE DOCTOS_IN SET APLICADO = 'N' WHERE DOCTO_IN_ID = :id"
                                   " AND APLICADO = 'S' AND CANCELADO = 'N'"),
                    {{QStringLiteral("id"), in}});
            ejecuta(QStringLiteral("DELETE FROM DOCTOS_IN WHERE DOCTO_IN_ID = :id"),
                    {{QStringLiteral("id"), in}});
        }
        ejecuta(QStringLiteral("DELETE FROM DOCTOS_ENTRE_SIS WHERE DOCTO_FTE_ID = :id"
                               " AND CLAVE_SIS_FTE = :s AND CLAVE_SIS_DEST = 'IN'"),
                {{QStringLiteral("id"), id}, {QStringLiteral("s"), claveSistema(s)}});
    }

    void elimina(Sistema s, int id)
    {
        lee(s, id);
        quitaMovimientos(s, id);
        const Tablas t = tablas(s);
        ejecuta(QStringLiteral(
                    "DELETE FROM DOCTOS_ENTRE_SIS WHERE CLAVE_SIS_FTE = :s"
                    " AND CLAVE_SIS_DEST = :s AND (DOCTO_FTE_ID = :id OR DOCTO_DEST_ID = :id)"),
                {{QStringLiteral("id"), id}, {QStringLiteral("s"), claveSistema(s)}});
        ejecuta(QStringLiteral("DELETE FROM %1 WHERE %2 = :id").arg(t.det, t.id),
                {{QStringLiteral("id"), id}});
        ejecuta(QStringLiteral("DELETE FROM %1 WHERE %2 = :id").arg(t.cab, t.id),
                {{QStringLiteral("id"), id}});
    }

    void modifica(Sistema s, int id, const QList<Renglon> &renglones)
    {
        const Cabecera c = lee(s, id);
        if (c.estatus == u'C')
            falla(QStringLiteral("El documento %1 está cancelado.").arg(c.folio));
        if (c.aplicado == u'S')
            falla(
                QStringLiteral("El documento %1 está aplicado: desaplíquelo antes de modificarlo.")
                    .arg(c.folio));
        const QList<Linea> v = lineas(s, renglones);
        // Its inventory document, unapplied now, is made again from the new lines.
        quitaMovimientos(s, id);
        const Tablas t = tablas(s);
        ejecuta(QStringLiteral("DELETE FROM %1 WHERE %2 = :id").arg(t.det, t.id),
                {{QStringLiteral("id"), id}});
        insertaLineas(s, id, v);
        escribeTotales(s, id, v);
    }

    int
    devuelve(Sistema s, int ventaId, const QList<Renglon> &pedidos, const QDate &fecha, bool mueve)
    {
        const Cabecera venta = lee(s, ventaId);
        const bool esVenta
            = s == Sistema::PV ? venta.tipo == u'V' : (venta.tipo == u'F' || venta.tipo == u'R');
        if (!esVenta)
            falla(QStringLiteral("El documento %1 no es una venta.").arg(venta.folio));
        if (venta.estatus == u'C' || venta.aplicado != u'S')
            falla(QStringLiteral("Solo se devuelve una venta aplicada y no cancelada: %1 no lo es.")
                      .arg(venta.folio));
        const Tablas t = tablas(s);

        // What was sold, by line, and what earlier returns gave back, by article.
        struct Vendido
        {
            int articulo;
            QString clave;
            qint64 unidades5;
            qint64 precio6;
            qint64 precioImpto6;
            int posicion;
            QChar rol;
        };
        QList<Vendido> vendidos;
        auto cq
            = consulta(QStringLiteral("SELECT ARTICULO_ID, CLAVE_ARTICULO, UNIDADES,"
                                      " PRECIO_UNITARIO, %1, POSICION, %2 FROM %3"
                                      " WHERE %4 = :id ORDER BY POSICION, %5")
                           .arg(s == Sistema::PV ? QStringLiteral("PRECIO_UNITARIO_IMPTO")
                                                 : QStringLiteral("0"),
                                s == Sistema::PV ? QStringLiteral("ROL") : QStringLiteral("'N'"),
                                t.det,
                                t.id,
                                t.detId));
        fb::Query &q = *cq;
        q.bind(QStringLiteral("id"), ventaId);
        for (q.open(); !q.eof(); q.next())
            vendidos << Vendido{q.field(0).toInt(),
                                q.field(1).toString(),
                                aEscala(q.field(2).toDecimal(), 5),
                                aEscala(q.field(3).toDecimal(), 6),
                                q.field(4).isNull() ? 0 : aEscala(q.field(4).toDecimal(), 6),
                                q.field(5).toInt(),
                                q.field(6).toString().isEmpty() ? u'N'
                                                                : q.field(6).toString().at(0)};
        q.close();
        QHash<int, qint64> devuelto;
        q.setSql(
            QStringLiteral("SELECT L.ARTICULO_ID, SUM(L.UNIDADES) FROM DOCTOS_ENTRE_SIS E"
                           " JOIN %1 D ON D.%2 = E.DOCTO_DEST_ID"
                           " JOIN %3 L ON L.%2 = D.%2"
                           " WHERE E.DOCTO_FTE_ID = :id AND E.CLAVE_SIS_FTE = :s"
                           " AND E.CLAVE_SIS_DEST = :s AND E.TIPO_DOCTO = 'D' AND D.ESTATUS <> 'C'"
                           " GROUP BY 1")
                .arg(t.cab, t.id, t.det));
        q.bind(QStringLiteral("id"), ventaId);
        q.bind(QStringLiteral("s"), claveSistema(s));
        for (q.open(); !q.eof(); q.next())
            devuelto[q.field(0).toInt()] = aEscala(q.field(1).toDecimal(), 5);
        q.close();

        auto comoRenglon = [&](const Vendido &v, qint64 unidades5) {
            Renglon r;
            r.articuloId = v.articulo;
            r.clave = v.clave;
            r.unidades = fb::Decimal(unidades5, 5);
            const qint64 base = s == Sistema::PV ? v.precioImpto6 : v.precio6;
            r.precio = fb::Decimal(base, 6);
            // The sale's own rate, from its two prices.
            r.tasaImpuesto
                = s == Sistema::PV && v.precio6 > 0 ? fb::Decimal(
                      divide(Entero128(v.precioImpto6) * 100000000, v.precio6) - 100000000, 6)
                                                    : fb::Decimal(16, 0);
            if (s == Sistema::VE) {
                // Invoices carry no price with tax: the rate of the document.
                const qint64 neto = aEscala(venta.importeNeto, 2);
                const qint64 imp = aEscala(venta.totalImpuestos, 2);
                r.tasaImpuesto = neto > 0 ? fb::Decimal(divide(Entero128(imp) * 100000000, neto), 6)
                                          : fb::Decimal(0, 0);
            }
            r.posicion = v.posicion;
            r.rol = v.rol;
            return r;
        };
        QList<Renglon> renglones;
        if (pedidos.isEmpty()) {
            for (const Vendido &v : std::as_const(vendidos)) {
                // Earlier returns cover the sale's lines of the article in order.
                qint64 &ya = devuelto[v.articulo];
                const qint64 cubierto = std::min(ya, v.unidades5);
                ya -= cubierto;
                if (v.unidades5 > cubierto)
                    renglones << comoRenglon(v, v.unidades5 - cubierto);
            }
            if (renglones.isEmpty())
                falla(QStringLiteral("La venta %1 ya fue devuelta por completo.").arg(venta.folio));
        } else {
            for (const Renglon &p : pedidos) {
                int articulo = p.articuloId;
                if (articulo <= 0) {
                    for (const Vendido &v : std::as_const(vendidos)) {
                        if (v.clave == p.clave)
                            articulo = v.articulo;
                    }
                    if (articulo <= 0)
                        articulo
                            = uno(QStringLiteral("SELECT FIRST 1 ARTICULO_ID FROM CLAVES_ARTICULOS"
                                                 " WHERE CLAVE_ARTICULO = :c"),
                                  {{QStringLiteral("c"), p.clave}})
                                  .toInt();
                }
                const auto it
                    = std::find_if(vendidos.cbegin(), vendidos.cend(), [&](const Vendido &v) {
                          return v.articulo == articulo;
                      });
                if (it == vendidos.cend())
                    falla(QStringLiteral("El artículo %1 no está en la venta %2.")
                              .arg(p.clave.isEmpty() ? QString::number(p.articuloId) : p.clave,
                                   venta.folio));
                qint64 vendido = 0;
                for (const Vendido &v : std::as_const(vendidos)) {
                    if (v.articulo == articulo)
                        vendido += v.unidades5;
                }
                const qint64 pide = aEscala(p.unidades, 5);
                if (pide <= 0)
                    falla(QStringLiteral("Las unidades a devolver deben ser mayores que cero."));
                if (pide > vendido - devuelto.value(articulo))
                    falla(QStringLiteral(
                              "Se devuelven más unidades de las vendidas del artículo %1 en %2.")
                              .arg(it->clave, venta.folio));
                devuelto[articulo] += pide;
                renglones << comoRenglon(*it, pide);
            }
        }

        Documento d;
        d.sistema = s;
        d.tipo = u'D';
        d.fecha = fecha;
        d.clienteId = venta.clienteId;
        auto cqc = consulta(QStringLiteral("SELECT %1, ALMACEN_ID FROM %2 WHERE %3 = :id")
                                .arg(s == Sistema::PV ? QStringLiteral("CAJERO_ID, CAJA_ID")
                                                      : QStringLiteral("VENDEDOR_ID, 1"),
                                     t.cab,
                                     t.id));
        fb::Query &qc = *cqc;
        qc.bind(QStringLiteral("id"), ventaId);
        qc.open();
        if (s == Sistema::PV)
            d.cajeroId = qc.field(0).isNull() ? 0 : qc.field(0).toInt();
        else
            d.vendedorId = qc.field(0).isNull() ? 0 : qc.field(0).toInt();
        d.cajaId = qc.field(1).toInt();
        d.almacenId = qc.field(2).isNull() ? 0 : qc.field(2).toInt();
        qc.close();
        d.renglones = renglones;
        const int id = crea(d);
        ejecuta(QStringLiteral(
                    "INSERT INTO DOCTOS_ENTRE_SIS (DOCTO_FTE_ID, CLAVE_SIS_FTE,"
                    " DOCTO_DEST_ID, CLAVE_SIS_DEST, TIPO_DOCTO) VALUES (:v, :s, :d, :s, 'D')"),
                {{QStringLiteral("v"), ventaId},
                 {QStringLiteral("s"), claveSistema(s)},
                 {QStringLiteral("d"), id}});
        aplica(s, id, mueve);
        return id;
    }
};

Documentos::Documentos(fb::Database &empresa)
    : d(std::make_unique<Impl>(empresa))
{}

Documentos::~Documentos() = default;

fb::Transaction &Documentos::transaccion()
{
    return d->tr;
}

template<typename F>
auto Documentos::operacion(F &&f)
{
    if (!m_confirma) {
        d->tr.ensureActive();
        return f();
    }
    fb::TransactionGuard guardia(d->tr);
    if constexpr (std::is_void_v<decltype(f())>) {
        f();
        guardia.commit();
    } else {
        auto r = f();
        guardia.commit();
        return r;
    }
}

int Documentos::crea(const Documento &documento)
{
    return operacion([&] { return d->crea(documento); });
}

void Documentos::aplica(Sistema sistema, int id)
{
    operacion([&] { d->aplica(sistema, id, m_mueveExistencias); });
}

int Documentos::vende(const Documento &documento)
{
    return operacion([&] {
        const int id = d->crea(documento);
        d->aplica(documento.sistema, id, m_mueveExistencias);
        return id;
    });
}

void Documentos::cancela(Sistema sistema, int id)
{
    operacion([&] { d->cancela(sistema, id); });
}

int Documentos::devuelve(Sistema sistema,
                         int ventaId,
                         const QList<Renglon> &renglones,
                         const QDate &fecha)
{
    return operacion(
        [&] { return d->devuelve(sistema, ventaId, renglones, fecha, m_mueveExistencias); });
}

void Documentos::cancelaDevolucion(Sistema sistema, int devolucionId)
{
    operacion([&] {
        const Cabecera c = d->lee(sistema, devolucionId);
        if (c.tipo != u'D')
            falla(QStringLiteral("El documento %1 no es una devolución.").arg(c.folio));
        d->cancela(sistema, devolucionId);
    });
}

void Documentos::elimina(Sistema sistema, int id)
{
    operacion([&] { d->elimina(sistema, id); });
}

void Documentos::desaplica(Sistema sistema, int id)
{
    operacion([&] { d->desaplica(sistema, id); });
}

void Documentos::reaplica(Sistema sistema, int id)
{
    operacion([&] { d->aplica(sistema, id, m_mueveExistencias); });
}

void Documentos::modifica(Sistema sistema, int id, const QList<Renglon> &renglones)
{
    operacion([&] { d->modifica(sistema, id, renglones); });
}

Cabecera Documentos::lee(Sistema sistema, int id)
{
    return operacion([&] { return d->lee(sistema, id); });
}

int Documentos::busca(Sistema sistema, const QString &folio)
{
    return operacion([&] {
        const Tablas t = tablas(sistema);
        auto q = d->consulta(QStringLiteral("SELECT %1 FROM %2 WHERE FOLIO = :f").arg(t.id, t.cab));
        q->bind(QStringLiteral("f"), folio.trimmed().toUpper());
        QList<int> ids;
        for (q->open(); !q->eof(); q->next())
            ids << q->field(0).toInt();
        if (ids.isEmpty())
            falla(
                QStringLiteral("No existe el documento %1 con el folio %2.").arg(t.nombre, folio));
        if (ids.size() > 1)
            falla(QStringLiteral("Hay %1 documentos %2 con el folio %3: indique el id.")
                      .arg(ids.size())
                      .arg(t.nombre, folio));
        return ids.first();
    });
}

} // namespace microsip
