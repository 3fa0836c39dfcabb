#include "configpuntos.h"

#include "core/ids.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "points/ledger.h"
#include "points/reinicio.h"
#include "toolkit/memtable.h"

#include <QRegularExpression>

namespace lar {

namespace {

const QString SqlClientes = QStringLiteral(
    "select c.cliente_id, (select first 1 clave_cliente from claves_clientes x join "
    "roles_claves_clientes r on r.rol_clave_cli_id=x.rol_clave_cli_id where cliente_id = "
    "c.cliente_id and ((r.nombre = 'Clave Puntos') or (r.es_ppal = 'S')) order by "
    "r.rol_clave_cli_id desc) as clave, c.nombre ");

QString bandera(bool b)
{
    return b ? QStringLiteral("S") : QStringLiteral("N");
}

// Lays out a memory table with the fields given and fills it from the query.
void llena(MemTable &mem, fb::Query &q, const QList<FieldDef> &campos)
{
    mem.close();
    mem.clearFields();
    for (const FieldDef &c : campos)
        mem.addField(c);
    mem.open();
    q.open();
    mem.loadFromQuery(q);
    q.close();
    mem.first();
}

} // namespace

ConfigPuntos::ConfigPuntos(Sesion &sesion)
    : m_sesion(sesion)
{}

ValoresConfig ConfigPuntos::lee()
{
    auto texto = [this](const char16_t *clave) {
        return LeeRegistro(m_sesion, QString::fromUtf16(clave));
    };
    auto si = [&](const char16_t *clave) {
        return texto(clave) == u"S";
    };

    ValoresConfig v;
    v.puntosGeneral = si(u"Puntos General Activo");
    v.puntosVentas = si(u"Puntos Ventas");
    v.puntosArticulo = si(u"Puntos Extra Articulos Activo");
    v.puntosImporte = si(u"Puntos Importe Activo");
    v.factorPuntos = texto(u"Factor Total Importe Puntos");
    v.factorPesos = texto(u"Factor Cantidad Pesos");
    v.puntosLinea = si(u"Puntos Importe Linea");
    v.tarjeta = si(u"Tarjeta de puntos");
    v.noVentas = texto(u"No. de vtas").trimmed();
    if (v.noVentas.isEmpty())
        v.noVentas = QStringLiteral("0");
    v.concepto = texto(u"Concepto Salida Puntos").toInt();
    v.almacen = texto(u"Almacen Puntos").toInt();
    v.folioPuntos = FolioNormaliza(texto(u"Folio Puntos"));
    v.folioEmpleados = FolioNormaliza(texto(u"Folio puntos empleados"));
    v.listaClientes = si(u"Lista por clientes");
    v.listaEmpleados = si(u"Lista por empleados");
    v.artSinExistencia = si(u"Artículos sin existencia");
    v.reinicioProgramado = si(u"Reiniciar Puntos Automaticamente");
    v.fechaReinicio = FechaReinicioDeTexto(texto(u"Fecha establecida para el reinicio"));
    if (!v.fechaReinicio.isValid())
        v.fechaReinicio = QDate::currentDate();
    v.diasAviso = texto(u"Dias antes del reinicio para enviar correo").toInt();
    v.correoRem = texto(u"CorreoRem");
    v.password = texto(u"Password");
    v.host = texto(u"Host");
    v.puerto = texto(u"Puerto");
    v.boleto = si(u"UsarArtBoleto");
    v.artBoleto = texto(u"ArtBoleto").toInt();
    v.artAlmacenables = si(u"ArtAlmacenables");
    v.formaBoleto = texto(u"FormaBoleto");
    return v;
}

void ConfigPuntos::cargaConceptos(MemTable &mem)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral("SELECT concepto_in_id, nombre, id_interno FROM conceptos_in WHERE "
                            "naturaleza='S' ORDER BY 2"));
    llena(mem,
          q,
          {{QStringLiteral("Id"), FieldType::Integer},
           {QStringLiteral("Nombre"), FieldType::String},
           {QStringLiteral("IdInterno"), FieldType::String}});
}

void ConfigPuntos::cargaLineas(MemTable &mem)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(
        QStringLiteral("select linea_articulo_id,nombre from LINEAS_ARTICULOS order by nombre"));
    llena(mem,
          q,
          {{QStringLiteral("Id"), FieldType::Integer},
           {QStringLiteral("Nombre"), FieldType::String}});
}

void ConfigPuntos::cargaLineasPuntos(MemTable &mem)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setSql(QStringLiteral("select Linea_id, puntos, importe from  LAR_PUNTOSLINEAS"));
    FieldDef importe{QStringLiteral("IMPORTE"), FieldType::Currency, 2};
    importe.displayLabel = QStringLiteral("Importe");
    importe.displayFormat = QStringLiteral(",0.00;-,0.00");
    FieldDef linea{QStringLiteral("ID_LINEA"), FieldType::Integer};
    linea.displayLabel = QStringLiteral("Linea");
    FieldDef puntos{QStringLiteral("PUNTOS"), FieldType::Integer};
    puntos.displayLabel = QStringLiteral("Puntos");
    llena(mem, q, {linea, puntos, importe});
}

void ConfigPuntos::cargaArticulos(MemTable &mem)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "SELECT articulo_id, nombre,(select c.clave_articulo from claves_articulos c JOIN "
        "roles_claves_articulos r on r.rol_clave_art_id = c.rol_clave_art_id where c.articulo_id "
        "= a.articulo_id and r.es_ppal = 'S' ) FROM articulos a WHERE Es_Almacenable='N' ORDER BY "
        "2"));
    llena(mem,
          q,
          {{QStringLiteral("Id"), FieldType::Integer},
           {QStringLiteral("Nombre"), FieldType::String},
           {QStringLiteral("Clave"), FieldType::String}});
}

void ConfigPuntos::cargaClientes(MemTable &mem, const QString &condicion)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(SqlClientes + condicion);
    llena(mem,
          q,
          {{QStringLiteral("Id"), FieldType::Integer},
           {QStringLiteral("Clave"), FieldType::String},
           {QStringLiteral("Nombre"), FieldType::String}});
}

void ConfigPuntos::cargaClientes(MemTable &mem)
{
    cargaClientes(mem, QStringLiteral("from clientes c where c.estatus='A'"));
}

void ConfigPuntos::cargaListaNegra(MemTable &mem)
{
    cargaClientes(mem,
                  QStringLiteral("FROM clientes c LEFT JOIN libres_clientes l on l.cliente_id = "
                                 "c.cliente_id WHERE c.estatus='A' AND (l.activo_puntos = 'N')"));
}

QStringList ConfigPuntos::formas()
{
    fb::Query q(&m_sesion.fbConfig(), &m_sesion.fbConfigTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "select f.folder_id from rb_folder f where f.name = 'Formas' and f.parent_id = (select "
        "p.folder_id from rb_folder p where p.name = 'Puntos' and p.parent_id = (select "
        "l.folder_id from rb_folder l where l.name = 'LarvenosPV' and l.parent_id = 0))"));
    q.open();
    const int carpeta = q.eof() ? 0 : q.field(0).toInt();
    q.close();
    QStringList nombres;
    if (carpeta > 0) {
        q.setSql(QStringLiteral("select name from rb_item where folder_id=:id order by 1"));
        q.bind(QStringLiteral("id"), carpeta);
        for (q.open(); !q.eof(); q.next())
            nombres << q.field(0).toTrimmed();
        q.close();
    }
    m_sesion.ConfigCommit();
    return nombres;
}

QString ConfigPuntos::nombreArticulo(int articulo)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral("select Nombre from articulos where articulo_id=:ID"));
    q.bind(QStringLiteral("ID"), articulo);
    q.open();
    const QString nombre = q.eof() ? QString() : q.field(0).toTrimmed();
    q.close();
    return nombre;
}

int ConfigPuntos::lineaPorNombre(const QString &nombre)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setSql(QStringLiteral("select linea_articulo_id from lineas_articulos where nombre = :nom"));
    q.bind(QStringLiteral("nom"), nombre);
    q.open();
    const int id = q.eof() ? 0 : q.field(0).toInt();
    q.close();
    return id;
}

bool ConfigPuntos::hayEmpleados()
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbViewTrans());
    q.setSql(QStringLiteral("select Empleado_ID from empleados "));
    q.open();
    const bool hay = !q.eof() && !q.field(0).isNull();
    q.close();
    return hay;
}

std::optional<FallaValidacion> ConfigPuntos::valida(const ValoresConfig &v)
{
    const QString puntos = QStringLiteral("TabPuntos");
    const QString aviso = QStringLiteral("Aviso");
    auto falla = [&](int paso, const QString &control, const QString &texto) {
        return FallaValidacion{paso,
                               texto,
                               paso == 1 ? QStringLiteral("Aviso del sistema") : aviso,
                               paso == 9 ? QStringLiteral("TabOtros") : puntos,
                               control};
    };
    auto positivo = [](const QString &texto) {
        const std::optional<fb::Decimal> d = fb::Decimal::fromString(texto.trimmed());
        return d && *d > fb::Decimal::fromInt(0);
    };

    static const QRegularExpression patronFolio(QStringLiteral("[A-Z],{0,3}[0-9]"));
    if (!patronFolio.match(v.folioPuntos).hasMatch() || FolioNumero(v.folioPuntos) == 0)
        return falla(1,
                     QStringLiteral("vFolioPuntos"),
                     QStringLiteral("Indique un folio correcto para los puntos, debe ser una "
                                    "letra y un numero."));
    if (v.puntosImporte && !positivo(v.factorPuntos))
        return falla(
            2, QStringLiteral("vPuntos"), QStringLiteral("Favor de indicar un puntaje válido."));
    // The texts of steps 3 and 8 are the screen's own, crossed as they are.
    if (v.puntosImporte && !positivo(v.factorPesos))
        return falla(
            3, QStringLiteral("vPesos"), QStringLiteral("Los días seleccionados no son válidos."));
    if (v.reinicioProgramado && v.diasAviso > 0) {
        if (v.correoRem.trimmed().isEmpty())
            return falla(4,
                         QStringLiteral("vCorreoRem"),
                         QStringLiteral("Favor de indicar un correo válido."));
        if (v.password.isEmpty())
            return falla(
                5, QStringLiteral("edPass"), QStringLiteral("Favor de indicar una contraseña."));
        if (v.host.trimmed().isEmpty())
            return falla(
                6, QStringLiteral("vHost"), QStringLiteral("Favor de indicar un Servidor."));
        if (v.puerto.trimmed().isEmpty())
            return falla(
                7, QStringLiteral("vPuerto"), QStringLiteral("Favor de indicar un Puerto."));
    }
    if (v.reinicioProgramado && v.diasAviso <= 0)
        return falla(
            8, QStringLiteral("seDias"), QStringLiteral("Favor de indicar un puntaje válido."));
    if (v.boleto && v.artBoleto <= 0)
        return falla(9,
                     QStringLiteral("vArticulo"),
                     QStringLiteral("Favor de indicar un Artículo para boleto."));
    return std::nullopt;
}

QString ConfigPuntos::textoPesos(const QString &texto)
{
    const std::optional<fb::Decimal> d = fb::Decimal::fromString(texto.trimmed());
    if (!d)
        return texto;
    QString t = d->rescaled(std::min(d->scale(), 4)).toString();
    if (t.contains(u'.')) {
        while (t.endsWith(u'0'))
            t.chop(1);
        if (t.endsWith(u'.'))
            t.chop(1);
    }
    return t;
}

QString ConfigPuntos::guarda(const ValoresConfig &v,
                             const QList<int> &listaNegra,
                             const QList<LineaPuntos> &lineas)
{
    try {
        fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
        auto pon = [this](const char16_t *clave, const QString &valor) {
            GuardaRegistro(m_sesion, QString::fromUtf16(clave), valor);
        };
        pon(u"Puntos General Activo", bandera(v.puntosGeneral));
        pon(u"Puntos Ventas", bandera(v.puntosVentas));
        pon(u"Puntos Extra Articulos Activo", bandera(v.puntosArticulo));
        pon(u"Puntos Importe Activo", bandera(v.puntosImporte));
        pon(u"Factor Total Importe Puntos", v.factorPuntos.trimmed());
        pon(u"Factor Cantidad Pesos", textoPesos(v.factorPesos));
        pon(u"Concepto Salida Puntos", v.concepto > 0 ? QString::number(v.concepto) : QString());
        pon(u"Almacen Puntos", v.almacen > 0 ? QString::number(v.almacen) : QString());
        pon(u"Tarjeta de puntos", bandera(v.tarjeta));

        pon(u"Folio Puntos", FolioRellena(v.folioPuntos, ledger::AnchoFolio));
        // The triggers read the cap as a number: never an empty text.
        pon(u"No. de vtas", v.noVentas.trimmed().isEmpty() ? QStringLiteral("0") : v.noVentas);

        pon(u"Lista por clientes", bandera(v.listaClientes));
        pon(u"Lista por empleados", bandera(v.listaEmpleados));
        pon(u"Artículos sin existencia", bandera(v.artSinExistencia));

        pon(u"Folio puntos empleados", FolioRellena(v.folioEmpleados, ledger::AnchoFolio));

        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral(
            "UPDATE or INSERT INTO libres_clientes (Cliente_id,activo_puntos) VALUES(:id,'N')"));
        for (const int cliente : listaNegra) {
            q.bind(QStringLiteral("id"), cliente);
            q.execute();
        }

        pon(u"Reiniciar Puntos Automaticamente", bandera(v.reinicioProgramado));
        pon(u"Fecha establecida para el reinicio", FechaReinicioTexto(v.fechaReinicio));
        pon(u"Dias antes del reinicio para enviar correo", QString::number(v.diasAviso));
        pon(u"CorreoRem", v.correoRem);
        pon(u"Password", v.password);
        pon(u"Host", v.host);
        pon(u"Puerto", v.puerto);

        pon(u"Puntos Importe Linea", bandera(v.puntosLinea));

        // Unticked, the table keeps its rows for the day by-line points return.
        if (v.puntosLinea) {
            q.setSql(QStringLiteral("DELETE FROM LAR_PUNTOSLINEAS"));
            q.execute();
            q.setSql(QStringLiteral("INSERT INTO LAR_PUNTOSLINEAS (LINEA_ID,PUNTOS,IMPORTE) "
                                    "values(:linea,:puntos,:importe)"));
            for (const LineaPuntos &l : lineas) {
                q.bind(QStringLiteral("linea"), l.linea);
                q.bind(QStringLiteral("puntos"), l.puntos);
                q.bind(QStringLiteral("importe"), QVariant::fromValue(l.importe));
                q.execute();
            }
        }

        // Unticked, the ticket flag takes the by-line flag just written: under
        // by-line points the ticket can't be switched off.
        pon(u"UsarArtBoleto", bandera(v.boleto || v.puntosLinea));

        pon(u"ArtBoleto", QString::number(v.artBoleto));
        pon(u"ArtAlmacenables", bandera(v.artAlmacenables));
        pon(u"FormaBoleto", v.formaBoleto);
        guardia.commit();
        return {};
    } catch (const std::exception &e) {
        return TextoExcepcion(e);
    }
}

QString ConfigPuntos::quitaDeListaNegra(int cliente)
{
    try {
        fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral(
            "UPDATE libres_clientes SET activo_puntos = 'S' WHERE cliente_id = :cliente"));
        q.bind(QStringLiteral("cliente"), cliente);
        q.execute();
        // The user was told it's done: it lasts even if the screen closes unsaved.
        guardia.commit();
        return {};
    } catch (const std::exception &e) {
        return TextoExcepcion(e);
    }
}

} // namespace lar
