#include "historial.h"

#include "ledger.h"

#include "core/sesion.h"
#include "fb/query.h"
#include "toolkit/memsql.h"
#include "toolkit/memtable.h"

#include <xlsxwriter.h>

namespace lar {

namespace {

const QString CanjeDePuntos = QStringLiteral("CANJE DE PUNTOS");

const QString SqlKardex = QStringLiteral(
    "SELECT p.folio,p.fecha, case when (p.tipo_docto in ( 'V' ,'F')  and a.articulo_id is null) "
    "then 'PUNTOS VENTA TOTAL' when (p.tipo_docto in ('L')  and a.articulo_id is null) then "
    "'PUNTOS TOTAL LINEA' when a.articulo_id is not null then a.nombre when p.articulo_id = 0 and "
    "p.naturaleza = 'E' then 'ENTRADA' when p.articulo_id = 0 and p.naturaleza = 'S' then "
    "'SALIDA' else 'PUNTOS VENCIDOS'  end articulo, case when p.tipo_docto in ( 'V' ,'F') and "
    "p.naturaleza = 'E' then 'VENTA' when (p.tipo_docto in ('L')  and p.naturaleza = 'E') then "
    "'VENTA' when p.tipo_docto = 'C' then 'CANJE DE PUNTOS' when p.tipo_docto = 'D' then "
    "'DEVOLUCION DE VENTA' when p.tipo_docto = 'A' and p.naturaleza = 'E' then 'AJUSTE ENTRADA' "
    "when p.tipo_docto = 'A' and p.naturaleza = 'S' then 'AJUSTE SALIDA' when p.tipo_docto in ( "
    "'V' ,'F','L') and p.naturaleza = 'S' then 'CANCELACIÓN DE VENTA' else 'PUNTOS VENCIDOS'  end "
    "documento, case when p.naturaleza = 'E' then p.valor_puntos else - p.valor_puntos   end "
    "puntos,p.articulo_id FROM lar_puntos p LEFT JOIN articulos a on a.articulo_id = "
    "p.articulo_id WHERE p.cliente_id=:cliente and cast( p.fecha as date ) between :fechaI and "
    ":fecha");

const QString SqlCanjesCliente = QStringLiteral(
    "SELECT p.folio, p.fecha, a.nombre, 'CANJE DE PUNTOS',   p.valor_puntos, p.articulo_id FROM "
    "lar_puntos p LEFT JOIN articulos a on a.articulo_id = p.articulo_id left join doctos_in n on "
    "n.docto_in_id = p.docto_id WHERE p.cliente_id= :cliente and cast( p.fecha as date ) between "
    ":fechaI and :fecha and n.concepto_in_id = (select concepto_in_id  from conceptos_in where "
    "nombre = 'Salida por puntos')");

const QString SqlCanjesTodos = QStringLiteral(
    "select   P.folio, cast(p.fecha as date), p.cliente_id, c.nombre, SUM( p.valor_puntos),'CANJE "
    "DE PUNTOS' from lar_puntos p join doctos_in n on n.docto_in_id = p.docto_id join clientes  c "
    "on c.cliente_id = p.cliente_id where cast( p.fecha as date ) between :fecha1 and :fecha2 and "
    "n.concepto_in_id = (select concepto_in_id  from conceptos_in where nombre = 'Salida por "
    "puntos' ) GROUP BY  1,2,3,4");

const QString SqlLineasCanjes = QStringLiteral(
    "SELECT p.folio,p.fecha,case when p.naturaleza = 'E' then p.valor_puntos else - "
    "p.valor_puntos   end puntos, p.articulo_id, a.nombre, P.PARTIDA FROM lar_puntos p LEFT JOIN "
    "articulos a on a.articulo_id = p.articulo_id join doctos_in n on n.docto_in_id = p.docto_id "
    "WHERE cast( p.fecha as date ) between :fechaI and :fecha and n.concepto_in_id = (select "
    "concepto_in_id  from conceptos_in where nombre = 'Salida por puntos')");

const QString SqlMovimientosTodos = QStringLiteral(
    "SELECT p.folio, p.fecha, p.tipo_docto, p.naturaleza, C.nombre, sum( p.valor_puntos) FROM "
    "lar_puntos p LEFT JOIN articulos a on a.articulo_id = p.articulo_id JOIN CLIENTES C ON "
    "C.cliente_id = P.cliente_id WHERE  cast( p.fecha as date ) between :fechaI and :fecha and "
    "p.docto_id <> 0 GROUP BY  2,1,3,4,5");

QString fechaTexto(const QDate &d)
{
    return d.toString(QStringLiteral("dd/MM/yyyy"));
}

} // namespace

HistorialPuntos::Caso HistorialPuntos::CasoDe(bool hayCliente, bool canjes, bool todos)
{
    if (hayCliente)
        return canjes ? CanjesCliente : Kardex;
    if (todos)
        return canjes ? CanjesTodos : MovimientosTodos;
    return Ninguno;
}

QString HistorialPuntos::Sentencia(Caso caso)
{
    switch (caso) {
    case Kardex:
        return SqlKardex;
    case CanjesCliente:
        return SqlCanjesCliente;
    case CanjesTodos:
        return SqlCanjesTodos;
    case MovimientosTodos:
        return SqlMovimientosTodos;
    case Ninguno:
        break;
    }
    return {};
}

QString HistorialPuntos::TituloColumna(Caso caso)
{
    return caso >= CanjesTodos ? QStringLiteral("Cliente") : QStringLiteral("Artículo");
}

QString HistorialPuntos::DocumentoDe(const QString &tipo, const QString &naturaleza)
{
    const QString t = tipo.trimmed();
    const bool entrada = naturaleza.trimmed() == QLatin1Char(ledger::Entrada);
    const bool salida = naturaleza.trimmed() == QLatin1Char(ledger::Salida);
    const bool venta = t == QLatin1Char(ledger::VentaPV) || t == QLatin1Char(ledger::Factura)
                       || t == QLatin1Char(ledger::PorLinea);
    if (t == QLatin1Char(ledger::Canje) && salida)
        return CanjeDePuntos;
    if (t == QLatin1Char(ledger::Devolucion) && salida)
        return QStringLiteral("DEVOLUCION DE VENTA");
    if (venta && entrada)
        return QStringLiteral("VENTA");
    if (t == QLatin1Char(ledger::Ajuste) && entrada)
        return QStringLiteral("AJUSTE ENTRADA");
    if (t == QLatin1Char(ledger::Ajuste) && salida)
        return QStringLiteral("AJUSTE SALIDA");
    if (venta && salida)
        return QStringLiteral("CANCELACIÓN DE VENTA");
    return QString();
}

void HistorialPuntos::PreparaKardex(MemTable &kardex)
{
    kardex.close();
    kardex.clearFields();
    kardex.addField(QStringLiteral("Puntos"), FieldType::Integer);
    kardex.addField(QStringLiteral("Folio"), FieldType::String, 9);
    kardex.addField(QStringLiteral("Fecha"), FieldType::DateTime);
    kardex.addField(QStringLiteral("Articulo"), FieldType::String, 100);
    kardex.addField(QStringLiteral("Documento"), FieldType::String, 50);
    kardex.addField(QStringLiteral("Estatus"), FieldType::String, 20);
    kardex.addField(QStringLiteral("clte_id"), FieldType::Integer);
    kardex.open();
}

void HistorialPuntos::PreparaKardex2(MemTable &kardex2)
{
    kardex2.close();
    kardex2.clearFields();
    kardex2.addField(QStringLiteral("PUNTOS"), FieldType::Integer);
    kardex2.addField(QStringLiteral("FOLIO"), FieldType::String, 9);
    kardex2.addField(QStringLiteral("FECHA"), FieldType::DateTime);
    kardex2.addField(QStringLiteral("ARTICULO"), FieldType::String, 50);
    kardex2.addField(QStringLiteral("PARTIDA"), FieldType::Integer);
    kardex2.open();
}

HistorialPuntos::HistorialPuntos(Sesion &sesion)
    : m_sesion(sesion)
{}

std::optional<HistorialPuntos::Cliente> HistorialPuntos::BuscaCliente(const QString &clave)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setSql(QStringLiteral(
        "SELECT c.nombre, clave_cliente, limite_credito,c.cliente_id FROM clientes c JOIN "
        "claves_clientes v on v.cliente_id = c.cliente_id JOIN roles_claves_clientes r on "
        "r.rol_clave_cli_id = v.rol_clave_cli_id WHERE c.estatus = 'A' and clave_cliente = "
        ":clave_cliente"));
    q.bind(QStringLiteral("clave_cliente"), clave);
    q.open();
    if (q.eof())
        return std::nullopt;
    return Cliente{q.field(3).toInt(), q.field(1).toTrimmed(), q.field(0).toTrimmed()};
}

int HistorialPuntos::Saldo(int cliente)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    return SaldoCliente(cliente, q);
}

void HistorialPuntos::Consulta(Caso caso,
                               int cliente,
                               const QDate &desde,
                               const QDate &hasta,
                               MemTable &kardex,
                               MemTable &kardex2)
{
    kardex.setIndexFieldNames(QString());
    kardex.emptyTable();
    if (caso == Ninguno)
        return;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(Sentencia(caso));
    switch (caso) {
    case Kardex:
    case CanjesCliente:
        q.bind(QStringLiteral("cliente"), cliente);
        q.bind(QStringLiteral("fechaI"), desde);
        q.bind(QStringLiteral("fecha"), hasta);
        break;
    case CanjesTodos:
        q.bind(QStringLiteral("fecha1"), desde);
        q.bind(QStringLiteral("fecha2"), hasta);
        break;
    case MovimientosTodos:
        q.bind(QStringLiteral("fechaI"), desde);
        q.bind(QStringLiteral("fecha"), hasta);
        break;
    case Ninguno:
        break;
    }
    // The grid is told once, when the rows are all in.
    struct Controles
    {
        MemTable &t;
        explicit Controles(MemTable &tabla)
            : t(tabla)
        {
            t.disableControls();
        }
        ~Controles() { t.enableControls(); }
    };
    std::optional<Controles> controles(std::in_place, kardex);
    // Puntos, Folio, Fecha, Articulo, Documento, Estatus, clte_id
    for (q.open(); !q.eof(); q.next()) {
        switch (caso) {
        case Kardex:
        case CanjesCliente:
            kardex.appendRecord({q.field(4).toInt(),
                                 q.field(0).toTrimmed(),
                                 q.field(1).toWallDateTime(),
                                 q.field(2).toTrimmed(),
                                 q.field(3).toTrimmed(),
                                 QVariant(),
                                 QVariant()});
            break;
        case CanjesTodos:
            kardex.appendRecord({q.field(4).toInt(),
                                 q.field(0).toTrimmed(),
                                 q.field(1).toWallDateTime(),
                                 q.field(3).toTrimmed(),
                                 q.field(5).toTrimmed(),
                                 QVariant(),
                                 q.field(2).toInt()});
            break;
        default:
            kardex.appendRecord({q.field(5).toInt(),
                                 q.field(0).toTrimmed(),
                                 q.field(1).toWallDateTime(),
                                 q.field(4).toTrimmed(),
                                 DocumentoDe(q.field(2).toTrimmed(), q.field(3).toTrimmed()),
                                 QVariant(),
                                 QVariant()});
            break;
        }
    }
    q.close();
    kardex.setIndexFieldNames(QStringLiteral("Fecha"));
    kardex.first();
    controles.reset();

    if (caso != CanjesTodos)
        return;
    kardex2.emptyTable();
    q.setSql(SqlLineasCanjes);
    q.bind(QStringLiteral("fechaI"), desde);
    q.bind(QStringLiteral("fecha"), hasta);
    // PUNTOS, FOLIO, FECHA, ARTICULO, PARTIDA
    for (q.open(); !q.eof(); q.next())
        kardex2.appendRecord({q.field(2).toInt(),
                              q.field(0).toTrimmed(),
                              q.field(1).toWallDateTime(),
                              q.field(4).toTrimmed(),
                              q.field(5).toInt()});
    q.close();
    kardex2.first();
}

bool HistorialPuntos::EscribeLibro(const QString &archivo,
                                   const Libro &libro,
                                   MemTable &kardex,
                                   MemTable &kardex2)
{
    const QByteArray ruta = archivo.toUtf8();
    lxw_workbook *wb = workbook_new(ruta.constData());
    if (!wb)
        return false;
    lxw_worksheet *ws = workbook_add_worksheet(wb, nullptr);
    lxw_format *negrita = workbook_add_format(wb);
    format_set_bold(negrita);
    lxw_format *titulo = workbook_add_format(wb);
    format_set_bold(titulo);
    format_set_font_size(titulo, 14);
    lxw_format *encabezado = workbook_add_format(wb);
    format_set_bold(encabezado);
    format_set_bottom(encabezado, LXW_BORDER_THIN);
    lxw_format *fecha = workbook_add_format(wb);
    format_set_num_format(fecha, "dd/mm/yyyy hh:mm");
    lxw_format *dia = workbook_add_format(wb);
    format_set_num_format(dia, "dd/mm/yyyy");
    lxw_format *miles = workbook_add_format(wb);
    format_set_num_format(miles, "#,##0");

    const auto texto = [&](int fila, int col, const QString &t, lxw_format *f = nullptr) {
        worksheet_write_string(ws, lxw_row_t(fila), lxw_col_t(col), t.toUtf8().constData(), f);
    };
    const auto numero = [&](int fila, int col, double v, lxw_format *f = nullptr) {
        worksheet_write_number(ws, lxw_row_t(fila), lxw_col_t(col), v, f);
    };
    const auto momento = [&](int fila, int col, const QDateTime &m, lxw_format *f) {
        if (!m.isValid())
            return;
        lxw_datetime d{m.date().year(),
                       m.date().month(),
                       m.date().day(),
                       m.time().hour(),
                       m.time().minute(),
                       m.time().second() + m.time().msec() / 1000.0};
        worksheet_write_datetime(ws, lxw_row_t(fila), lxw_col_t(col), &d, f);
    };

    worksheet_set_column(ws, 0, 0, 18, nullptr);
    worksheet_set_column(ws, 1, 1, 45, nullptr);
    worksheet_set_column(ws, 2, 2, 10, nullptr);
    worksheet_set_column(ws, 3, 3, 14, nullptr);
    worksheet_set_column(ws, 4, 4, 26, nullptr);

    const QString periodo
        = fechaTexto(libro.desde) + QStringLiteral(" al ") + fechaTexto(libro.hasta);
    QString segunda = QStringLiteral("Artículo");
    switch (libro.caso) {
    case Kardex:
        texto(0, 1, QStringLiteral("Historial Puntos del: ") + periodo, titulo);
        break;
    case CanjesCliente:
        texto(0, 1, QStringLiteral("Canjes de Puntos del: ") + periodo, titulo);
        break;
    case CanjesTodos:
        texto(0, 1, QStringLiteral("Historial de Canjes del: ") + periodo, titulo);
        segunda = QStringLiteral("Cliente / Artículos");
        break;
    default:
        texto(0, 1, QStringLiteral("Historial de movimientos del: ") + periodo, titulo);
        segunda = QStringLiteral("Cliente");
        break;
    }
    if (libro.caso == Kardex || libro.caso == CanjesCliente) {
        texto(1, 0, QStringLiteral("Cliente:"), negrita);
        texto(1, 1, libro.cliente);
        texto(1, 3, QStringLiteral("Puntos:"), negrita);
        numero(1, 4, libro.saldo, miles);
    }
    const QStringList encabezados{QStringLiteral("Fecha"),
                                  segunda,
                                  QStringLiteral("Puntos"),
                                  QStringLiteral("Folio docto."),
                                  QStringLiteral("Documento")};
    for (int c = 0; c < encabezados.size(); ++c)
        texto(2, c, encabezados.at(c), encabezado);

    MemSql detalle;
    detalle.registerTable(QStringLiteral("Detalle"), &kardex2);
    int fila = 3;
    const int bm = kardex.recNo();
    kardex.disableControls();
    for (kardex.first(); !kardex.eof(); kardex.next()) {
        const QString folio = kardex[QStringLiteral("Folio")].asString();
        momento(fila,
                0,
                kardex[QStringLiteral("Fecha")].asDateTime(),
                libro.caso == CanjesTodos ? dia : fecha);
        texto(fila, 1, kardex[QStringLiteral("Articulo")].asString());
        numero(fila, 2, kardex[QStringLiteral("Puntos")].asInteger());
        texto(fila, 3, folio);
        texto(fila, 4, kardex[QStringLiteral("Documento")].asString());
        ++fila;
        if (libro.caso != CanjesTodos)
            continue;
        MemTable &lineas = detalle.open(
            QStringLiteral("SELECT puntos,articulo,partida FROM Detalle WHERE folio= '")
            + QString(folio).replace(QLatin1Char('\''), QStringLiteral("''")) + QLatin1Char('\''));
        for (lineas.first(); !lineas.eof(); lineas.next()) {
            texto(fila, 1, lineas.field(1).asString());
            numero(fila, 2, lineas.field(0).asInteger());
            ++fila;
        }
    }
    if (bm >= 0)
        kardex.setRecNo(bm);
    kardex.enableControls();
    return workbook_close(wb) == LXW_NO_ERROR;
}

} // namespace lar
