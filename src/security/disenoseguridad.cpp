#include "disenoseguridad.h"

#include "core/ids.h"
#include "core/navegacion.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <stdexcept>

namespace lar {

namespace {

// A failure of our own inside a write, reported like the engine's.
class FallaEscritura : public std::runtime_error
{
public:
    explicit FallaEscritura(const QString &texto)
        : std::runtime_error(texto.toStdString())
    {}
};

} // namespace

QString TituloModuloSistema(int tag)
{
    switch (tag) {
    case 1:
        return QStringLiteral("Definición de la seguridad");
    case 2:
        return QStringLiteral("Permisos del sistema");
    case 10:
        return QStringLiteral("Configuración del sistema");
    case 72:
        return QStringLiteral("Artículos con puntos");
    case 73:
        return QStringLiteral("Ventas puntos");
    case 74:
        return QStringLiteral("Historial puntos");
    case 75:
        return QStringLiteral("Asigna o retira puntos");
    case 76:
        return QStringLiteral("Reporte compra por cliente");
    case 77:
        return QStringLiteral("Reporte artículo más vendido");
    case 78:
        return QStringLiteral("Buscador clientes");
    case 79:
        return QStringLiteral("Asigna puntos por actividad");
    default:
        return {};
    }
}

QString ComillasSql(const QString &texto)
{
    return QString(texto).replace(u'\'', QStringLiteral("''"));
}

DisenoSeguridad::DisenoSeguridad(Sesion &sesion)
    : m_sesion(sesion)
{}

QString DisenoSeguridad::enTransaccion(const std::function<void()> &escribe)
{
    try {
        fb::TransactionGuard guarda(m_sesion.fbUpdateTrans());
        escribe();
        guarda.commit();
        return {};
    } catch (const std::exception &e) {
        return TextoExcepcion(e);
    }
}

QList<MenuSeguridad> DisenoSeguridad::menus()
{
    QList<MenuSeguridad> r;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("SELECT clave, titulo, depende FROM lar_menusistema"));
    for (q.open(); !q.eof(); q.next())
        r << MenuSeguridad{q.field(0).toInt(), q.field(1).toTrimmed(), q.field(2).toInt()};
    q.close();
    return r;
}

bool DisenoSeguridad::existeMenu(int clave)
{
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("SELECT 1 FROM lar_menusistema WHERE clave = :c"));
    q.bind(QStringLiteral("c"), clave);
    q.open();
    const bool hay = !q.eof();
    q.close();
    return hay;
}

int DisenoSeguridad::siguienteClave()
{
    // The seeded menus have numbers of their own that the generator knows nothing of.
    int clave = GetNextID(m_sesion, QStringLiteral("menusistema"), 0);
    while (existeMenu(clave))
        ++clave;
    return clave;
}

QString DisenoSeguridad::nuevoMenu(const QString &titulo, int depende, int *clave)
{
    return enTransaccion([&] {
        int numero = GetNextID(m_sesion, QStringLiteral("menusistema"), 1);
        while (existeMenu(numero))
            numero = GetNextID(m_sesion, QStringLiteral("menusistema"), 1);
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("INSERT INTO LAR_MENUSISTEMA (CLAVE, TITULO, DEPENDE) VALUES (")
                 + QString::number(numero) + QStringLiteral(", '") + ComillasSql(titulo)
                 + QStringLiteral("', ") + QString::number(depende) + u')');
        q.execute();
        if (clave)
            *clave = numero;
    });
}

QString DisenoSeguridad::editaMenu(int clave, const QString &titulo)
{
    return enTransaccion([&] {
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("UPDATE LAR_MENUSISTEMA SET TITULO = '") + ComillasSql(titulo)
                 + QStringLiteral("' WHERE CLAVE = ") + QString::number(clave));
        if (q.execute() == 0)
            throw FallaEscritura(QStringLiteral("No fue posible actualizar la tabla: MENUSISTEMA"));
    });
}

QString DisenoSeguridad::borraMenu(int clave)
{
    return enTransaccion([&] {
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("DELETE FROM LAR_MENUSISTEMA WHERE CLAVE = :CLAVE"));
        q.bind(QStringLiteral("CLAVE"), clave);
        q.execute();
    });
}

QList<ModuloSeguridad> DisenoSeguridad::modulos(int clave)
{
    QList<ModuloSeguridad> r;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("SELECT tag, titulo FROM lar_menubotones WHERE clave = :clave"));
    q.bind(QStringLiteral("clave"), clave);
    for (q.open(); !q.eof(); q.next())
        r << ModuloSeguridad{q.field(0).toInt(), q.field(1).toTrimmed()};
    q.close();
    return r;
}

QString DisenoSeguridad::agregaModulo(int clave, int tag, const QString &titulo)
{
    return enTransaccion([&] {
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(
            QStringLiteral("INSERT INTO lar_menubotones (CLAVE, TAG, TITULO) VALUES (:c, :t, :l)"));
        q.bind(QStringLiteral("c"), clave);
        q.bind(QStringLiteral("t"), tag);
        q.bind(QStringLiteral("l"), titulo);
        q.execute();
    });
}

QString DisenoSeguridad::borraModulo(int clave, int tag)
{
    return enTransaccion([&] {
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("DELETE FROM lar_menubotones WHERE clave = ")
                 + QString::number(clave) + QStringLiteral(" and TAG = ") + QString::number(tag));
        q.execute();
    });
}

QList<DerechoSeguridad> DisenoSeguridad::derechos(int tag)
{
    QList<DerechoSeguridad> r;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral(
        "SELECT titulo, lugar FROM lar_menubotondef WHERE tag = :tag order by lugar"));
    q.bind(QStringLiteral("tag"), tag);
    for (q.open(); !q.eof(); q.next())
        r << DerechoSeguridad{q.field(0).toTrimmed(), q.field(1).toInt()};
    q.close();
    return r;
}

QString DisenoSeguridad::agregaDerecho(int tag, const QString &titulo)
{
    return enTransaccion([&] {
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("SELECT MAX(LUGAR) FROM lar_menubotondef WHERE TAG = ")
                 + QString::number(tag));
        q.open();
        const int lugar = (q.eof() || q.field(0).isNull()) ? 1 : q.field(0).toInt() + 1;
        q.close();
        q.setSql(QStringLiteral("INSERT INTO lar_menubotondef (tag, titulo, lugar) VALUES (")
                 + QString::number(tag) + QStringLiteral(", '") + ComillasSql(titulo.trimmed())
                 + QStringLiteral("', ") + QString::number(lugar) + u')');
        q.execute();
    });
}

QString DisenoSeguridad::borraDerecho(int tag, int lugar)
{
    return enTransaccion([&] {
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("DELETE FROM lar_menubotondef WHERE TAG = ") + QString::number(tag)
                 + QStringLiteral(" and LUGAR = ") + QString::number(lugar));
        q.execute();
    });
}

QString DisenoSeguridad::renombraDerecho(int tag, int lugar, const QString &titulo)
{
    return enTransaccion([&] {
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("UPDATE lar_menubotondef SET titulo = :titulo WHERE tag = :tag and "
                                "lugar = :lugar"));
        q.bind(QStringLiteral("titulo"), titulo.trimmed());
        q.bind(QStringLiteral("tag"), tag);
        q.bind(QStringLiteral("lugar"), lugar);
        if (q.execute() == 0)
            throw FallaEscritura(
                QStringLiteral("No fue posible actualizar la tabla: lar_menubotondef"));
    });
}

} // namespace lar
