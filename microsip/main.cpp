// microsip-sim: the stand-in Microsip on the command line. Creates an environment,
// fills it with demo data and plays Microsip's part on sale documents.

#include "microsip/sim/entorno.h"
#include "microsip/sim/siembra.h"

#include "fb/database.h"
#include "fb/error.h"

#include <QCoreApplication>
#include <QDate>
#include <QMultiHash>
#include <QRegularExpression>
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
      --semilla N           los mismos datos para la misma semilla (1)
      --clientes N          (250, hasta 200000)
      --articulos N         (600, hasta 100000)
      --documentos N        documentos de venta históricos (3000, hasta 1000000)
      --almacenes N --cajeros N --vendedores N --empleados N
      --hasta AAAA-MM-DD    último día de los documentos (hoy)
      --dias N              días que abarcan los documentos (365)

Opciones comunes:
      --empresa NOMBRE      empresa del entorno (la única, si hay una sola)
      --password CLAVE      contraseña de SYSDBA en el servidor
                            (o las variables ISC_PASSWORD, LAR_FB_PASSWORD)
)";

class Argumentos
{
public:
    Argumentos(const QStringList &args, const QStringList &conValor, const QStringList &banderas)
    {
        for (qsizetype i = 0; i < args.size(); ++i) {
            const QString &a = args[i];
            if (!a.startsWith(QStringLiteral("--"))) {
                m_posicionales << a;
                continue;
            }
            QString nombre = a.mid(2);
            QString valor;
            const qsizetype igual = nombre.indexOf(u'=');
            const bool conIgual = igual >= 0;
            if (conIgual) {
                valor = nombre.mid(igual + 1);
                nombre.truncate(igual);
            }
            if (banderas.contains(nombre)) {
                if (conIgual)
                    throw ErrorUso{QStringLiteral("La opción --%1 no lleva valor.").arg(nombre)};
                m_opciones.insert(nombre, QString());
            } else if (conValor.contains(nombre)) {
                if (!conIgual) {
                    if (i + 1 >= args.size())
                        throw ErrorUso{QStringLiteral("Falta el valor de --%1.").arg(nombre)};
                    valor = args[++i];
                }
                m_opciones.insert(nombre, valor);
            } else {
                throw ErrorUso{QStringLiteral("Opción desconocida: --%1").arg(nombre)};
            }
        }
    }

    bool tiene(const QString &n) const { return m_opciones.contains(n); }
    QString valor(const QString &n, const QString &omision = {}) const
    {
        const QStringList v = valores(n);
        return v.isEmpty() ? omision : v.last();
    }
    // In the order given.
    QStringList valores(const QString &n) const
    {
        QStringList v = m_opciones.values(n);
        std::reverse(v.begin(), v.end());
        return v;
    }
    const QStringList &posicionales() const { return m_posicionales; }

    int entero(const QString &n, int omision, int minimo, int maximo) const
    {
        if (!tiene(n))
            return omision;
        bool ok = false;
        const int v = valor(n).toInt(&ok);
        if (!ok || v < minimo || v > maximo)
            throw ErrorUso{QStringLiteral("El valor de --%1 debe ser un número entero entre %2 y %3: "
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
            throw ErrorUso{
                QStringLiteral("La fecha de --%1 no es válida (AAAA-MM-DD): '%2'.").arg(n, valor(n))};
        return d;
    }

private:
    QMultiHash<QString, QString> m_opciones;
    QStringList m_posicionales;
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
            throw ErrorUso{QStringLiteral("El entorno tiene %1 empresas: indique una con --empresa (%2).")
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
    op.semilla = quint64(a.entero(QStringLiteral("semilla"), 1, 0, std::numeric_limits<int>::max()));
    op.clientes = a.entero(QStringLiteral("clientes"), op.clientes, 1, 200000);
    op.articulos = a.entero(QStringLiteral("articulos"), op.articulos, 1, 100000);
    op.documentos = a.entero(QStringLiteral("documentos"), op.documentos, 0, 1000000);
    op.almacenes = a.entero(QStringLiteral("almacenes"), op.almacenes, 1, 50);
    op.cajeros = a.entero(QStringLiteral("cajeros"), op.cajeros, 1, 100);
    op.vendedores = a.entero(QStringLiteral("vendedores"), op.vendedores, 1, 100);
    op.empleados = a.entero(QStringLiteral("empleados"), op.empleados, 0, 10000);
    op.dias = a.entero(QStringLiteral("dias"), op.dias, 1, 3650);
    op.hasta = a.fecha(QStringLiteral("hasta"));
    op.avance = [](const QString &linea) { salida() << linea << Qt::endl; };
    const Destino d = destinoDe(a);
    fb::Database db;
    d.entorno.conecta(db, d.entorno.rutaEmpresa(d.empresa));
    microsip::siembra(db, op);
    salida() << QStringLiteral("Empresa %1 sembrada.\n").arg(d.empresa);
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
                QStringLiteral("El usuario debe escribirse NOMBRE:CONTRASEÑA[:EMPRESA+EMPRESA]: '%1'.")
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
