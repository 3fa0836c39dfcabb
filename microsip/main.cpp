// microsip-sim: the stand-in Microsip on the command line. Creates an environment,
// fills it with demo data and plays Microsip's part on sale documents.

#include "microsip/sim/documentos.h"
#include "microsip/sim/entorno.h"
#include "microsip/sim/puntos.h"
#include "microsip/sim/siembra.h"
#include "microsip/sim/simulacion.h"

#include "db/actualizadb.h"
#include "reports/formas.h"
#include "toolkit/reporte/plantilla.h"

#include "fb/database.h"
#include "fb/error.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMultiHash>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTextStream>

#include <cstdio>

namespace {

using microsip::Entorno;

constexpr int kErrorUso = 2;
constexpr int kErrorEjecucion = 1;

// A mistake in the command line itself: exit code 2.
struct ErrorUso
{
    QString mensaje;
};

QTextStream &salida()
{
    static QTextStream s(stdout);
    return s;
}

QTextStream &errores()
{
    static QTextStream s(stderr);
    return s;
}

const char *const kAyuda = R"(Uso: microsip-sim ORDEN CARPETA [opciones]

  init CARPETA            crea un entorno de Microsip en CARPETA
      --empresa NOMBRE      empresa a crear (repetible; DEMO si no se indica)
      --sin-folios          Microsip anterior, sin FOLIOS_CONCEPTOS
      --lar-sync            con la cola de réplica LAR_SYNC_ID
      --servidor H/PUERTO   a través de un servidor Firebird (p. ej. 127.0.0.1/3061)
      --version DIGITOS     versión de Microsip en Metadatos (72201)
      --usuario N:CLAVE[:EMP+EMP]
                            usuario de Microsip; con empresas, acceso limitado a ellas
      --conexion NOMBRE     nombre de la conexión (Demo)

  seed CARPETA            llena una empresa recién creada con datos de demostración
                          y guarda las formas de impresión de muestra
      --semilla N           los mismos datos para la misma semilla (1)
      --clientes N          (250, hasta 200000)
      --articulos N         (600, hasta 100000)
      --documentos N        documentos de venta históricos (3000, hasta 1000000)
      --almacenes N --cajeros N --vendedores N --empleados N
      --hasta AAAA-MM-DD    último día de los documentos (hoy)
      --dias N              días que abarcan los documentos (365)

  upgrade CARPETA         instala o actualiza el esquema de Puntos Larvenos en la empresa
                            (lo que hace el programa cuando entra el administrador)
  simulate CARPETA        ventas de unos días, cada una creada y aplicada como en Microsip
      --ventas N (50) --dias N (7) --hasta AAAA-MM-DD --semilla N

  forms CARPETA           formas de impresión en LarvenosPV/Puntos/Formas de Config.fdb
      --exporta DESTINO     escribe cada forma guardada como DESTINO/<nombre>.xml
      --carga ARCHIVO.xml   guarda el archivo como la forma <nombre del archivo>
                            (repetible); se revisa antes de guardarlo
                            sin opciones: las formas de muestra del programa

Documentos (--sistema PV, el punto de venta, o VE, ventas; PV si no se indica):
  create CARPETA          crea un documento sin aplicar; escribe su id
  sell CARPETA            crea y aplica una venta; escribe su id
      --tipo LETRA          V venta, D devolución (PV); F factura, R remisión, D (VE)
      --cliente CLAVE | --cliente-id N
      --cajero N --caja N   (PV)     --vendedor N (VE)     --almacen N
      --fecha AAAA-MM-DD --folio FOLIO
      --renglon CLAVE:UNIDADES[:PRECIO]   repetible; precio con impuesto en PV, sin él
                            en VE; sin precio, el de lista
      --aplicado            la cabecera entra ya aplicada (no acumula ni mueve existencias)
  apply | cancel | unapply | reapply | delete CARPETA --docto ID|FOLIO
  return CARPETA --docto ID|FOLIO [--renglon CLAVE:UNIDADES]... [--fecha AAAA-MM-DD]
                            crea y aplica la devolución de una venta; escribe su id
  cancel-return CARPETA --docto ID|FOLIO
      --sin-existencias     no mueve el inventario

Puntos (requieren el esquema de Puntos Larvenos):
  points CARPETA --escenario apagado|articulo|importe|linea|tarjeta|demo
                 [--valor "Clave=Valor"]...
                            ajustes de PuntosLar/Puntos en LAR_REGISTRO
  article-points CARPETA --articulo CLAVE | --articulo-id N
                 [--puntos N] [--valor-puntos N]

Opciones comunes:
      --empresa NOMBRE      empresa del entorno (la única, si hay una sola)
      --password CLAVE      contraseña de SYSDBA en el servidor
                            (o las variables ISC_PASSWORD, LAR_FB_PASSWORD)
)";

// The options of one order, read by QCommandLineParser: "--nombre valor" or
// "--nombre=valor", repeatable; anything else is the folder.
class Argumentos
{
public:
    Argumentos(const QStringList &args, const QStringList &conValor, const QStringList &banderas)
    {
        m_parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
        for (const QString &n : conValor)
            m_parser.addOption(QCommandLineOption(n, QString(), QStringLiteral("valor")));
        for (const QString &n : banderas)
            m_parser.addOption(QCommandLineOption(n));
        if (m_parser.parse(QStringList{QStringLiteral("microsip-sim")} + args))
            return;
        if (!m_parser.unknownOptionNames().isEmpty())
            throw ErrorUso{QStringLiteral("Opción desconocida: --%1")
                               .arg(m_parser.unknownOptionNames().first())};
        // The parser's own text is in English; the two other mistakes it knows of.
        for (const QString &a : args) {
            const QString nombre = a.mid(2).section(u'=', 0, 0);
            if (a.startsWith(QStringLiteral("--")) && a.contains(u'=') && banderas.contains(nombre))
                throw ErrorUso{QStringLiteral("La opción --%1 no lleva valor.").arg(nombre)};
        }
        throw ErrorUso{QStringLiteral("Falta el valor de %1.").arg(args.last())};
    }

    bool tiene(const QString &n) const { return m_parser.isSet(n); }
    QString valor(const QString &n, const QString &omision = {}) const
    {
        const QStringList v = valores(n);
        return v.isEmpty() ? omision : v.last();
    }
    // In the order given.
    QStringList valores(const QString &n) const { return m_parser.values(n); }
    QStringList posicionales() const { return m_parser.positionalArguments(); }

    int entero(const QString &n, int omision, int minimo, int maximo) const
    {
        if (!tiene(n))
            return omision;
        bool ok = false;
        const int v = valor(n).toInt(&ok);
        if (!ok || v < minimo || v > maximo)
            throw ErrorUso{
                QStringLiteral("El valor de --%1 debe ser un número entero entre %2 y %3: "
                               "'%4'.")
                    .arg(n)
                    .arg(minimo)
                    .arg(maximo)
                    .arg(valor(n))};
        return v;
    }

    QDate fecha(const QString &n) const
    {
        if (!tiene(n))
            return {};
        const QDate d = QDate::fromString(valor(n), Qt::ISODate);
        if (!d.isValid())
            throw ErrorUso{QStringLiteral("La fecha de --%1 no es válida (AAAA-MM-DD): '%2'.")
                               .arg(n, valor(n))};
        return d;
    }

private:
    QCommandLineParser m_parser;
};

QString carpetaDe(const Argumentos &a)
{
    if (a.posicionales().isEmpty())
        throw ErrorUso{QStringLiteral("Indique la carpeta del entorno.")};
    if (a.posicionales().size() > 1)
        throw ErrorUso{QStringLiteral("Sobra el argumento '%1'.").arg(a.posicionales().at(1))};
    return a.posicionales().first();
}

QString passwordDe(const Argumentos &a)
{
    if (a.tiene(QStringLiteral("password")))
        return a.valor(QStringLiteral("password"));
    const QString isc = qEnvironmentVariable("ISC_PASSWORD");
    return isc.isEmpty() ? qEnvironmentVariable("LAR_FB_PASSWORD") : isc;
}

// The environment of the command line and the company it names.
struct Destino
{
    Entorno entorno;
    QString empresa;
};

Destino destinoDe(const Argumentos &a)
{
    Destino d{Entorno::abre(carpetaDe(a), passwordDe(a)), a.valor(QStringLiteral("empresa"))};
    if (d.empresa.isEmpty()) {
        const QStringList empresas = d.entorno.empresas();
        if (empresas.size() != 1)
            throw ErrorUso{
                QStringLiteral("El entorno tiene %1 empresas: indique una con --empresa (%2).")
                    .arg(empresas.size())
                    .arg(empresas.join(QStringLiteral(", ")))};
        d.empresa = empresas.first();
    }
    d.entorno.verificaEmpresa(d.empresa);
    return d;
}

const QStringList kComunes{QStringLiteral("empresa"), QStringLiteral("password")};

int ordenSeed(const QStringList &args)
{
    const Argumentos a(args,
                       kComunes
                           + QStringList{QStringLiteral("semilla"),
                                         QStringLiteral("clientes"),
                                         QStringLiteral("articulos"),
                                         QStringLiteral("documentos"),
                                         QStringLiteral("almacenes"),
                                         QStringLiteral("cajeros"),
                                         QStringLiteral("vendedores"),
                                         QStringLiteral("empleados"),
                                         QStringLiteral("hasta"),
                                         QStringLiteral("dias")},
                       {});
    microsip::OpcionesSiembra op;
    op.semilla
        = quint64(a.entero(QStringLiteral("semilla"), 1, 0, std::numeric_limits<int>::max()));
    op.clientes = a.entero(QStringLiteral("clientes"), op.clientes, 1, 200000);
    op.articulos = a.entero(QStringLiteral("articulos"), op.articulos, 1, 100000);
    op.documentos = a.entero(QStringLiteral("documentos"), op.documentos, 0, 1000000);
    op.almacenes = a.entero(QStringLiteral("almacenes"), op.almacenes, 1, 50);
    op.cajeros = a.entero(QStringLiteral("cajeros"), op.cajeros, 1, 100);
    op.vendedores = a.entero(QStringLiteral("vendedores"), op.vendedores, 1, 100);
    op.empleados = a.entero(QStringLiteral("empleados"), op.empleados, 0, 10000);
    op.dias = a.entero(QStringLiteral("dias"), op.dias, 1, 3650);
    op.hasta = a.fecha(QStringLiteral("hasta"));
    op.avance = [](const QString &linea) {
        salida() << linea << Qt::endl;
    };
    const Destino d = destinoDe(a);
    fb::Database db;
    d.entorno.conecta(db, d.entorno.rutaEmpresa(d.empresa));
    microsip::siembra(db, op);
    // The program's sample print forms, in the configuration database's report store.
    fb::Database config;
    d.entorno.conecta(config, d.entorno.rutaConfig());
    lar::InstalaFormasMuestra(config);
    salida() << QStringLiteral("Empresa %1 sembrada.\n").arg(d.empresa);
    return 0;
}

fb::Decimal decimal(const QString &texto, const QString &que)
{
    const std::optional<fb::Decimal> d = fb::Decimal::fromString(texto.trimmed());
    if (!d)
        throw ErrorUso{QStringLiteral("%1 no es un número: '%2'.").arg(que, texto)};
    return *d;
}

// CLAVE:UNIDADES[:PRECIO]
microsip::Renglon renglon(const QString &texto, bool conPrecio)
{
    const QStringList partes = texto.split(u':');
    if (partes.size() < 2 || partes.size() > (conPrecio ? 3 : 2) || partes[0].trimmed().isEmpty())
        throw ErrorUso{QStringLiteral("El renglón debe escribirse CLAVE:UNIDADES%1: '%2'.")
                           .arg(conPrecio ? QStringLiteral("[:PRECIO]") : QString(), texto)};
    microsip::Renglon r;
    r.clave = partes[0].trimmed();
    r.unidades
        = decimal(partes[1], QStringLiteral("El número de unidades del renglón '%1'").arg(texto));
    if (partes.size() == 3)
        r.precio = decimal(partes[2], QStringLiteral("El precio del renglón '%1'").arg(texto));
    return r;
}

const QStringList kDocumento{QStringLiteral("sistema"), QStringLiteral("docto")};

microsip::Sistema sistemaDe(const Argumentos &a)
{
    try {
        return microsip::sistemaDe(a.valor(QStringLiteral("sistema"), QStringLiteral("PV")));
    } catch (const fb::Error &e) {
        throw ErrorUso{e.message()};
    }
}

int doctoDe(const Argumentos &a, microsip::Documentos &docs, microsip::Sistema s)
{
    const QString docto = a.valor(QStringLiteral("docto"));
    if (docto.isEmpty())
        throw ErrorUso{QStringLiteral("Indique el documento con --docto (su id o su folio).")};
    bool esId = false;
    const int id = docto.toInt(&esId);
    return esId ? id : docs.busca(s, docto);
}

void escribeDocumento(microsip::Documentos &docs, microsip::Sistema s, int id)
{
    const microsip::Cabecera c = docs.lee(s, id);
    salida() << QStringLiteral("%1 %2 %3 tipo %4 estatus %5 aplicado %6 neto %7 impuestos %8\n")
                    .arg(id)
                    .arg(microsip::claveSistema(s),
                         c.folio,
                         QString(c.tipo),
                         QString(c.estatus),
                         QString(c.aplicado),
                         c.importeNeto.toString(),
                         c.totalImpuestos.toString());
}

int ordenDocumentoNuevo(const QStringList &args, bool aplicar)
{
    const Argumentos a(args,
                       kComunes
                           + QStringList{QStringLiteral("sistema"),
                                         QStringLiteral("tipo"),
                                         QStringLiteral("cliente"),
                                         QStringLiteral("cliente-id"),
                                         QStringLiteral("cajero"),
                                         QStringLiteral("caja"),
                                         QStringLiteral("vendedor"),
                                         QStringLiteral("almacen"),
                                         QStringLiteral("fecha"),
                                         QStringLiteral("folio"),
                                         QStringLiteral("renglon")},
                       {QStringLiteral("aplicado"), QStringLiteral("sin-existencias")});
    microsip::Documento d;
    d.sistema = sistemaDe(a);
    const QString tipo = a.valor(QStringLiteral("tipo"));
    if (tipo.size() > 1)
        throw ErrorUso{QStringLiteral("El tipo de documento es una letra: '%1'.").arg(tipo)};
    if (!tipo.isEmpty())
        d.tipo = tipo.at(0).toUpper();
    d.claveCliente = a.valor(QStringLiteral("cliente"));
    d.clienteId = a.entero(QStringLiteral("cliente-id"), 0, 1, std::numeric_limits<int>::max());
    d.cajeroId = a.entero(QStringLiteral("cajero"), 0, 1, std::numeric_limits<int>::max());
    d.cajaId = a.entero(QStringLiteral("caja"), 1, 1, std::numeric_limits<int>::max());
    d.vendedorId = a.entero(QStringLiteral("vendedor"), 0, 1, std::numeric_limits<int>::max());
    d.almacenId = a.entero(QStringLiteral("almacen"), 0, 1, std::numeric_limits<int>::max());
    d.fecha = a.fecha(QStringLiteral("fecha"));
    d.folio = a.valor(QStringLiteral("folio"));
    d.insertaAplicado = a.tiene(QStringLiteral("aplicado"));
    if (d.insertaAplicado && aplicar)
        throw ErrorUso{QStringLiteral("--aplicado es para create: sell aplica el documento.")};
    for (const QString &r : a.valores(QStringLiteral("renglon")))
        d.renglones << renglon(r, true);
    const Destino dest = destinoDe(a);
    fb::Database db;
    dest.entorno.conecta(db, dest.entorno.rutaEmpresa(dest.empresa));
    microsip::Documentos docs(db);
    docs.setMueveExistencias(!a.tiene(QStringLiteral("sin-existencias")));
    const int id = aplicar ? docs.vende(d) : docs.crea(d);
    escribeDocumento(docs, d.sistema, id);
    return 0;
}

int ordenDocumento(const QString &orden, const QStringList &args)
{
    const Argumentos a(args,
                       kComunes + kDocumento
                           + QStringList{QStringLiteral("renglon"), QStringLiteral("fecha")},
                       {QStringLiteral("sin-existencias")});
    if (orden != u"return"
        && (a.tiene(QStringLiteral("renglon")) || a.tiene(QStringLiteral("fecha"))))
        throw ErrorUso{QStringLiteral("--renglon y --fecha son de return.")};
    const microsip::Sistema s = sistemaDe(a);
    QList<microsip::Renglon> renglones;
    for (const QString &r : a.valores(QStringLiteral("renglon")))
        renglones << renglon(r, false);
    const QDate fecha = a.fecha(QStringLiteral("fecha"));
    const Destino dest = destinoDe(a);
    fb::Database db;
    dest.entorno.conecta(db, dest.entorno.rutaEmpresa(dest.empresa));
    microsip::Documentos docs(db);
    docs.setMueveExistencias(!a.tiene(QStringLiteral("sin-existencias")));
    const int id = doctoDe(a, docs, s);
    int mostrar = id;
    if (orden == u"apply")
        docs.aplica(s, id);
    else if (orden == u"cancel")
        docs.cancela(s, id);
    else if (orden == u"unapply")
        docs.desaplica(s, id);
    else if (orden == u"reapply")
        docs.reaplica(s, id);
    else if (orden == u"cancel-return")
        docs.cancelaDevolucion(s, id);
    else if (orden == u"return")
        mostrar = docs.devuelve(s, id, renglones, fecha);
    if (orden == u"delete") {
        docs.elimina(s, id);
        salida() << QStringLiteral("%1 %2 eliminado\n").arg(id).arg(microsip::claveSistema(s));
    } else {
        escribeDocumento(docs, s, mostrar);
    }
    return 0;
}

int ordenPoints(const QStringList &args)
{
    const Argumentos a(
        args, kComunes + QStringList{QStringLiteral("escenario"), QStringLiteral("valor")}, {});
    const QString escenario = a.valor(QStringLiteral("escenario"));
    microsip::ValoresPuntos extra;
    for (const QString &v : a.valores(QStringLiteral("valor"))) {
        const qsizetype igual = v.indexOf(u'=');
        if (igual <= 0)
            throw ErrorUso{
                QStringLiteral("El valor debe escribirse \"Clave=Valor\": '%1'.").arg(v)};
        extra << qMakePair(v.left(igual), v.mid(igual + 1));
    }
    if (escenario.isEmpty() && extra.isEmpty())
        throw ErrorUso{QStringLiteral("Indique --escenario (%1) o algún --valor.")
                           .arg(microsip::escenariosPuntos().join(QStringLiteral(", ")))};
    if (!escenario.isEmpty() && !microsip::escenariosPuntos().contains(escenario.toLower()))
        throw ErrorUso{
            QStringLiteral("El escenario '%1' no existe: %2.")
                .arg(escenario, microsip::escenariosPuntos().join(QStringLiteral(", ")))};
    const Destino dest = destinoDe(a);
    fb::Database db;
    dest.entorno.conecta(db, dest.entorno.rutaEmpresa(dest.empresa));
    if (escenario.isEmpty())
        microsip::escribePuntos(db, extra);
    else
        microsip::aplicaEscenario(db, escenario, extra);
    salida() << QStringLiteral("Ajustes de puntos escritos en %1.\n").arg(dest.empresa);
    return 0;
}

int ordenArticlePoints(const QStringList &args)
{
    const Argumentos a(args,
                       kComunes
                           + QStringList{QStringLiteral("articulo"),
                                         QStringLiteral("articulo-id"),
                                         QStringLiteral("puntos"),
                                         QStringLiteral("valor-puntos")},
                       {});
    const int max = std::numeric_limits<int>::max();
    const int id = a.entero(QStringLiteral("articulo-id"), 0, 1, max);
    const QString clave = a.valor(QStringLiteral("articulo"));
    if ((id > 0) == !clave.isEmpty())
        throw ErrorUso{
            QStringLiteral("Indique el artículo con --articulo CLAVE o con --articulo-id N.")};
    std::optional<int> puntos, valor;
    if (a.tiene(QStringLiteral("puntos")))
        puntos = a.entero(QStringLiteral("puntos"), 0, 0, max);
    if (a.tiene(QStringLiteral("valor-puntos")))
        valor = a.entero(QStringLiteral("valor-puntos"), 0, 0, max);
    if (!puntos && !valor)
        throw ErrorUso{QStringLiteral("Indique --puntos, --valor-puntos o ambos.")};
    const Destino dest = destinoDe(a);
    fb::Database db;
    dest.entorno.conecta(db, dest.entorno.rutaEmpresa(dest.empresa));
    const int articulo = id > 0 ? id : microsip::articuloPorClave(db, clave);
    microsip::puntosArticulo(db, articulo, puntos, valor);
    salida() << QStringLiteral("Artículo %1: puntos actualizados.\n").arg(articulo);
    return 0;
}

int ordenUpgrade(const QStringList &args)
{
    const Argumentos a(args, kComunes, {});
    const Destino d = destinoDe(a);
    const bool hecho
        = lar::ActualizaEmpresa(d.entorno.rutaEmpresa(d.empresa),
                                d.entorno.rutaConfig(),
                                d.entorno.parametros(),
                                [](const QString &linea) { salida() << linea << Qt::endl; });
    if (!hecho) {
        errores() << QStringLiteral("microsip-sim: la actualización de %1 fue rechazada.\n")
                         .arg(d.empresa);
        return kErrorEjecucion;
    }
    salida() << QStringLiteral("Empresa %1 actualizada.\n").arg(d.empresa);
    return 0;
}

int ordenSimulate(const QStringList &args)
{
    const Argumentos a(args,
                       kComunes
                           + QStringList{QStringLiteral("ventas"),
                                         QStringLiteral("dias"),
                                         QStringLiteral("hasta"),
                                         QStringLiteral("semilla")},
                       {});
    microsip::OpcionesSimulacion op;
    op.ventas = a.entero(QStringLiteral("ventas"), op.ventas, 0, 100000);
    op.dias = a.entero(QStringLiteral("dias"), op.dias, 1, 3650);
    op.hasta = a.fecha(QStringLiteral("hasta"));
    op.semilla
        = quint64(a.entero(QStringLiteral("semilla"), 1, 0, std::numeric_limits<int>::max()));
    op.avance = [](const QString &linea) {
        salida() << linea << Qt::endl;
    };
    const Destino d = destinoDe(a);
    fb::Database db;
    d.entorno.conecta(db, d.entorno.rutaEmpresa(d.empresa));
    microsip::simula(db, op);
    return 0;
}

int ordenInit(const QStringList &args)
{
    const Argumentos a(args,
                       {QStringLiteral("empresa"),
                        QStringLiteral("servidor"),
                        QStringLiteral("password"),
                        QStringLiteral("version"),
                        QStringLiteral("usuario"),
                        QStringLiteral("conexion")},
                       {QStringLiteral("sin-folios"), QStringLiteral("lar-sync")});
    const QString carpeta = carpetaDe(a);
    microsip::OpcionesEntorno op;
    if (a.tiene(QStringLiteral("empresa")))
        op.empresas = a.valores(QStringLiteral("empresa"));
    op.foliosConceptos = !a.tiene(QStringLiteral("sin-folios"));
    op.larSync = a.tiene(QStringLiteral("lar-sync"));
    op.servidor = a.valor(QStringLiteral("servidor"));
    op.passwordSysdba = passwordDe(a);
    op.versionSis = a.valor(QStringLiteral("version"), op.versionSis);
    op.nombreConexion = a.valor(QStringLiteral("conexion"), op.nombreConexion);
    for (const QString &u : a.valores(QStringLiteral("usuario"))) {
        const QStringList partes = u.split(u':');
        if (partes.size() < 2 || partes.size() > 3 || partes[0].isEmpty())
            throw ErrorUso{
                QStringLiteral(
                    "El usuario debe escribirse NOMBRE:CONTRASEÑA[:EMPRESA+EMPRESA]: '%1'.")
                    .arg(u)};
        microsip::Usuario usuario;
        usuario.nombre = partes[0];
        usuario.password = partes[1];
        if (partes.size() == 3) {
            usuario.accesoEmpresas = u'L';
            usuario.empresas = partes[2].split(u'+', Qt::SkipEmptyParts);
        }
        op.usuarios << usuario;
    }
    const Entorno e = Entorno::crea(carpeta, op);
    salida() << QStringLiteral("Entorno creado en %1 (conexión %2, %3)\n")
                    .arg(e.carpeta(),
                         e.nombreConexion(),
                         e.servidor().isEmpty() ? QStringLiteral("local")
                                                : QStringLiteral("servidor ") + e.servidor());
    return 0;
}

int ordenForms(const QStringList &args)
{
    const Argumentos a(
        args, {QStringLiteral("password"), QStringLiteral("exporta"), QStringLiteral("carga")}, {});
    const Entorno e = Entorno::abre(carpetaDe(a), passwordDe(a));
    fb::Database config;
    e.conecta(config, e.rutaConfig());
    if (!a.tiene(QStringLiteral("exporta")) && !a.tiene(QStringLiteral("carga"))) {
        const int carpeta = lar::InstalaFormasMuestra(config);
        salida() << QStringLiteral("Formas de muestra guardadas en la carpeta %1.\n").arg(carpeta);
        return 0;
    }
    const int raiz = lar::AseguraFolder(config, QStringLiteral("LarvenosPV"), 0);
    const int carpeta
        = lar::AseguraFolder(config,
                             QStringLiteral("Formas"),
                             lar::AseguraFolder(config, QStringLiteral("Puntos"), raiz));
    for (const QString &ruta : a.valores(QStringLiteral("carga"))) {
        QFile f(ruta);
        if (!f.open(QIODevice::ReadOnly))
            throw ErrorUso{QStringLiteral("No se puede leer %1: %2").arg(ruta, f.errorString())};
        const QByteArray texto = f.readAll();
        lar::reporte::Plantilla p;
        QString error;
        if (!lar::reporte::leePlantilla(texto, p, &error))
            throw ErrorUso{QStringLiteral("%1: %2").arg(ruta, error)};
        const QString nombre = QFileInfo(ruta).completeBaseName();
        lar::GuardaForma(config, carpeta, nombre, texto);
        salida() << QStringLiteral("Forma \"%1\" guardada.\n").arg(nombre);
    }
    if (a.tiene(QStringLiteral("exporta"))) {
        const QDir destino(a.valor(QStringLiteral("exporta")));
        QDir().mkpath(destino.path());
        for (const auto &[nombre, texto] : lar::LeeFormas(config, carpeta)) {
            QSaveFile f(destino.filePath(nombre + QStringLiteral(".xml")));
            if (!f.open(QIODevice::WriteOnly) || f.write(texto) != texto.size() || !f.commit())
                throw ErrorUso{QStringLiteral("No se puede escribir %1: %2")
                                   .arg(f.fileName(), f.errorString())};
            salida() << f.fileName() << u'\n';
        }
    }
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty() || args.first() == u"--help" || args.first() == u"-h"
        || args.first() == u"help") {
        salida() << QString::fromUtf8(kAyuda);
        return args.isEmpty() ? kErrorUso : 0;
    }
    const QString orden = args.takeFirst();
    try {
        if (orden == u"init")
            return ordenInit(args);
        if (orden == u"seed")
            return ordenSeed(args);
        if (orden == u"create" || orden == u"sell")
            return ordenDocumentoNuevo(args, orden == u"sell");
        if (QStringList{QStringLiteral("apply"),
                        QStringLiteral("cancel"),
                        QStringLiteral("unapply"),
                        QStringLiteral("reapply"),
                        QStringLiteral("delete"),
                        QStringLiteral("return"),
                        QStringLiteral("cancel-return")}
                .contains(orden))
            return ordenDocumento(orden, args);
        if (orden == u"upgrade")
            return ordenUpgrade(args);
        if (orden == u"simulate")
            return ordenSimulate(args);
        if (orden == u"points")
            return ordenPoints(args);
        if (orden == u"forms")
            return ordenForms(args);
        if (orden == u"article-points")
            return ordenArticlePoints(args);
        throw ErrorUso{QStringLiteral("Orden desconocida: %1").arg(orden)};
    } catch (const ErrorUso &e) {
        errores() << QStringLiteral("microsip-sim: ") << e.mensaje << u'\n'
                  << QStringLiteral("Vea microsip-sim --help.\n");
        return kErrorUso;
    } catch (const fb::Error &e) {
        errores() << QStringLiteral("microsip-sim: ") << e.message() << u'\n';
        return kErrorEjecucion;
    }
}
