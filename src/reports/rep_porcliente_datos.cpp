#include "rep_porcliente_datos.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "toolkit/memtable.h"

#include <QStringList>

#include <cmath>

namespace lar {

namespace {

QString lineas(std::initializer_list<const char16_t *> l)
{
    QStringList r;
    for (const char16_t *s : l)
        r << QString::fromUtf16(s);
    return r.join(u'\n');
}

QString sistemaTexto(bool puntoDeVenta)
{
    return puntoDeVenta ? QStringLiteral("Punto de venta") : QStringLiteral("Ventas");
}

} // namespace

FuentesVenta DatosReportes::leeFuentes()
{
    FuentesVenta f;
    f.puntoDeVenta = LeeRegistro(m_s, QStringLiteral("Puntos General Activo")) == u"S";
    f.ventas = LeeRegistro(m_s, QStringLiteral("Puntos Ventas")) == u"S";
    return f;
}

QString DatosReportes::guardaPeriodo(const QDate &inicio, const QDate &fin, int articuloId)
{
    try {
        fb::TransactionGuard g(m_s.fbUpdateTrans());
        fb::Query q(&m_s.fbDatabase(), &m_s.fbUpdateTrans());
        q.setSql(lineas({u"UPDATE LAR_REPORTES",
                         u"  set fecha_inicio = :fecha_inicio,",
                         u"      fecha_fin = :fecha_fin",
                         u"where rep_id = 1"}));
        q.bind(QStringLiteral("fecha_inicio"), inicio);
        q.bind(QStringLiteral("fecha_fin"), fin);
        if (q.execute() == 0) {
            fb::Query ins(&m_s.fbDatabase(), &m_s.fbUpdateTrans());
            ins.setSql(
                lineas({u"INSERT INTO LAR_REPORTES (rep_id,fecha_inicio, fecha_fin,articulo_id)",
                        u"values  (1,:fecha_inicio, :fecha_fin,:articulo_id)"}));
            ins.bind(QStringLiteral("fecha_inicio"), inicio);
            ins.bind(QStringLiteral("fecha_fin"), fin);
            ins.bind(QStringLiteral("articulo_id"), articuloId);
            ins.execute();
        }
        g.commit();
        return QString();
    } catch (const fb::Error &e) {
        return e.message();
    }
}

void DatosReportes::cargaClientes(MemTable &clientes)
{
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(lineas({u"SELECT c.cliente_id,nombre,cc.clave_cliente",
                     u"FROM clientes  c",
                     u"  LEFt JOIN claves_clientes cc on c.cliente_id = cc.cliente_id",
                     u"    and cc.rol_clave_cli_id = (select r.rol_clave_cli_id",
                     u"                               from roles_claves_clientes r",
                     u"                               where r.es_ppal = 'S')",
                     u"ORDER BY NOMBRE"}));
    q.open();
    clientes.disableControls();
    clientes.emptyTable();
    while (!q.eof()) {
        clientes.appendRecord({q.field(0).toInt(),
                               q.field(1).toString(),
                               q.field(2).isNull() ? QVariant() : QVariant(q.field(2).toString()),
                               QVariant()});
        q.next();
    }
    q.close();
    clientes.first();
    clientes.enableControls();
}

std::optional<ClienteClave> DatosReportes::clientePorClave(const QString &clave)
{
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(lineas({u"SELECT c.nombre, clave_cliente, limite_credito,c.cliente_id",
                     u"FROM clientes c",
                     u"  JOIN claves_clientes v on v.cliente_id = c.cliente_id",
                     u"  JOIN roles_claves_clientes r on r.rol_clave_cli_id = v.rol_clave_cli_id",
                     u"WHERE c.estatus = 'A'",
                     u"  and  clave_cliente = :clave_cliente"}));
    q.bind(QStringLiteral("clave_cliente"), clave);
    q.open();
    std::optional<ClienteClave> r;
    if (!q.eof())
        r = ClienteClave{q.field(3).toInt(), q.field(0).toString(), q.field(1).toString()};
    q.close();
    return r;
}

int DatosReportes::cargaCompras(
    MemTable &detalle, int clienteId, const QDate &inicio, const QDate &fin, FuentesVenta f)
{
    int filas = 0;
    auto carga = [&](bool pv) {
        fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
        q.setTrimChars(true);
        q.setSql(
            lineas({pv ? u"SELECT folio,importe_neto,docto_pv_id,cliente_id,FECHA_HORA_CREACION,"
                         u"TOTAL_IMPUESTOS"
                       : u"SELECT folio,importe_neto,docto_ve_id,cliente_id,FECHA_HORA_CREACION,"
                         u"TOTAL_IMPUESTOS",
                    pv ? u"FROM doctos_pv" : u"FROM doctos_ve",
                    u"WHERE cliente_id = :IDClnte",
                    u" and fecha between :fecha1 and :fecha2",
                    u" and estatus <> 'C'",
                    pv ? u"GROUP BY cliente_id,folio,importe_neto,docto_pv_id,FECHA_HORA_CREACION,"
                         u"TOTAL_IMPUESTOS"
                       : u"GROUP BY cliente_id,folio,importe_neto,docto_ve_id,FECHA_HORA_CREACION,"
                         u"TOTAL_IMPUESTOS",
                    pv ? u"ORDER BY DOCTO_PV_ID" : u"ORDER BY docto_ve_id"}));
        q.bind(QStringLiteral("IDClnte"), clienteId);
        q.bind(QStringLiteral("fecha1"), inicio);
        q.bind(QStringLiteral("fecha2"), fin);
        q.open();
        while (!q.eof()) {
            detalle.appendRecord({q.field(3).toInt(),
                                  q.field(0).toString(),
                                  q.field(1).toDouble() + q.field(5).toDouble(),
                                  q.field(4).toDateTime(),
                                  sistemaTexto(pv)});
            ++filas;
            q.next();
        }
        q.close();
    };
    if (f.puntoDeVenta)
        carga(true);
    if (f.ventas)
        carga(false);
    return filas;
}

int DatosReportes::cargaArticulos(MemTable &articulos,
                                  std::optional<int> cliente,
                                  const QDate &inicio,
                                  const QDate &fin,
                                  FuentesVenta f)
{
    int filas = 0;
    auto carga = [&](bool pv) {
        fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
        q.setTrimChars(true);
        QStringList sql{QStringLiteral("SELECT first 100 det.articulo_id,art.nombre,"
                                       "det.clave_articulo,SUM(det.unidades)UNIDADES")};
        if (pv) {
            sql << QStringLiteral("FROM doctos_pv_det  det")
                << QStringLiteral("  INNER JOIN doctos_pv vta ON vta.docto_pv_id = det.docto_pv_id")
                << QStringLiteral(
                       "  INNER JOIN articulos  art ON art.articulo_id = det.articulo_id")
                << QStringLiteral(
                       "  INNER JOIN clientes  clte  ON vta.cliente_id = clte.cliente_id")
                << QStringLiteral("WHERE VTA.fecha BETWEEN :fInc AND :fFinal");
            if (cliente)
                sql << QStringLiteral("and   clte.cliente_id  = :cliente");
            sql << QStringLiteral("GROUP by det.articulo_id ,art.nombre,det.clave_articulo");
        } else {
            sql << QStringLiteral("FROM doctos_VE_det  det")
                << QStringLiteral("  JOIN doctos_ve vta ON vta.docto_ve_id = det.docto_VE_id")
                << QStringLiteral("  JOIN articulos  art ON art.articulo_id = det.articulo_id")
                << QStringLiteral("  JOIN clientes  clte  ON vta.cliente_id = clte.cliente_id")
                << QStringLiteral("WHERE VTA.fecha BETWEEN :fInc AND :fFinal");
            if (cliente)
                sql << QStringLiteral("  and clte.cliente_id  = :cliente");
            sql << QStringLiteral("GROUP by det.articulo_id,art.nombre ,det.clave_articulo");
        }
        sql << QStringLiteral("ORDER by UNIDADES desc");
        q.setSql(sql.join(u'\n'));
        q.bind(QStringLiteral("fInc"), inicio);
        q.bind(QStringLiteral("fFinal"), fin);
        if (cliente)
            q.bind(QStringLiteral("cliente"), *cliente);
        q.open();
        while (!q.eof()) {
            articulos.appendRecord({q.field(0).toInt(),
                                    q.field(2).toString(),
                                    q.field(1).toString(),
                                    qint64(std::llround(q.field(3).toDouble())),
                                    QVariant(),
                                    sistemaTexto(pv)});
            ++filas;
            q.next();
        }
        q.close();
    };
    if (f.puntoDeVenta)
        carga(true);
    if (f.ventas)
        carga(false);
    return filas;
}

int DatosReportes::cargaDirecciones(MemTable &busqueda)
{
    fb::Query q(&m_s.fbDatabase(), &m_s.fbViewTrans());
    q.setTrimChars(true);
    // The LEFT join keeps nothing without an address: the joins after it need one.
    q.setSql(lineas({u"SELECT clte.nombre as CLIENTE,dir.calle AS DIRECCION,dir.colonia as Colonia,"
                     u"dir.telefono1 AS TEL,cd.nombre AS CUIDAD,etd.nombre AS ESTADO",
                     u"FROM  clientes clte",
                     u"    LEFT JOIN dirs_clientes  dir ON  clte.cliente_id = dir.cliente_id and "
                     u"dir.nombre_consig = 'Dirección principal'  ",
                     u"    JOIN CIUDADES       cd  ON  dir.ciudad_id = cd.ciudad_id",
                     u"    JOIN ESTADOS        etd ON  dir.estado_id = etd.estado_id",
                     u"where clte.estatus='A'"}));
    q.open();
    const int cliente = q.fieldIndex(QStringLiteral("CLIENTE"));
    const int direccion = q.fieldIndex(QStringLiteral("DIRECCION"));
    const int colonia = q.fieldIndex(QStringLiteral("COLONIA"));
    const int tel = q.fieldIndex(QStringLiteral("TEL"));
    const int ciudad = q.fieldIndex(QStringLiteral("CUIDAD"));
    const int estado = q.fieldIndex(QStringLiteral("ESTADO"));
    int filas = 0;
    while (!q.eof()) {
        auto texto = [&q](int i) {
            return q.field(i).isNull() ? QVariant() : QVariant(q.field(i).toString());
        };
        // Nombre, Direccion, Ciudad, Estado, Telefono, Colonia.
        busqueda.appendRecord({texto(cliente),
                               texto(direccion),
                               texto(ciudad),
                               texto(estado),
                               texto(tel),
                               texto(colonia)});
        ++filas;
        q.next();
    }
    q.close();
    return filas;
}

void DefineDetalleCompras(MemTable &t)
{
    t.addField(QStringLiteral("Clienteid"), FieldType::Integer);
    FieldDef folio{QStringLiteral("Folio"), FieldType::String, 20};
    folio.displayLabel = QStringLiteral("Folio ");
    t.addField(folio);
    FieldDef importe{QStringLiteral("Importe"), FieldType::Float};
    importe.displayFormat = QStringLiteral("#,0.00;-#,0.00");
    t.addField(importe);
    t.addField(QStringLiteral("Fecha"), FieldType::DateTime);
    t.addField(QStringLiteral("Sistema"), FieldType::String, 35);
}

void DefineArticulosVendidos(MemTable &t)
{
    t.addField(QStringLiteral("ID"), FieldType::Integer);
    t.addField(QStringLiteral("CLAVE"), FieldType::String);
    t.addField(QStringLiteral("NOMBRE"), FieldType::String);
    FieldDef cantidad{QStringLiteral("CANTIDAD"), FieldType::Integer};
    cantidad.displayFormat = QStringLiteral("#,0;-#,0");
    cantidad.displayLabel = QStringLiteral("Unidades");
    t.addField(cantidad);
    t.addField(QStringLiteral("FECHA"), FieldType::DateTime);
    t.addField(QStringLiteral("Sistema"), FieldType::String);
}

void DefineDirecciones(MemTable &t)
{
    for (const char16_t *n :
         {u"Nombre", u"Direccion", u"Ciudad", u"Estado", u"Telefono", u"Colonia"})
        t.addField(QString::fromUtf16(n), FieldType::String);
    t.addIndex(QStringLiteral("Nombre"), QStringLiteral("Nombre"));
    t.addIndex(QStringLiteral("Ciudad"), QStringLiteral("Ciudad"));
    t.addIndex(QStringLiteral("Colonia"), QStringLiteral("Colonia"));
}

void DefineClientes(MemTable &t)
{
    t.addField(QStringLiteral("ID"), FieldType::Integer);
    t.addField(QStringLiteral("Nombre"), FieldType::String, 100);
    t.addField(QStringLiteral("CLAVE"), FieldType::String, 50);
    t.addField(QStringLiteral("Limcredito"), FieldType::Currency, 2);
    t.addIndex(QStringLiteral("Nombre"), QStringLiteral("Nombre"));
}

} // namespace lar
