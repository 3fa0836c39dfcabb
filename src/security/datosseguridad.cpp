#include "datosseguridad.h"

#include "core/navegacion.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QSet>

namespace lar {

namespace {

constexpr int kMenuOculto = 18;

bool tagValido(int tag)
{
    return tag >= 1 && tag <= 79;
}

} // namespace

DatosSeguridad::DatosSeguridad(Sesion &sesion)
    : m_sesion(sesion)
{}

QStringList DatosSeguridad::usuarios()
{
    QStringList r;
    fb::Query q(&m_sesion.fbConfig(), &m_sesion.fbConfigTrans());
    q.setSql(QStringLiteral("SELECT nombre FROM usuarios WHERE tipo = 'U'"));
    for (q.open(); !q.eof(); q.next())
        r << q.field(0).toTrimmed();
    q.close();
    return r;
}

QList<MenuSeguridad> DatosSeguridad::menus()
{
    QList<MenuSeguridad> r;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    auto lee = [&](bool filtra) {
        for (q.open(); !q.eof(); q.next()) {
            MenuSeguridad m{q.field(0).toInt(), q.field(1).toTrimmed(), q.field(2).toInt()};
            if (filtra && (m.clave == kMenuOculto || m.titulo == QStringLiteral("Sistema")))
                continue;
            r << m;
        }
        q.close();
    };
    q.setSql(QStringLiteral("SELECT distinct m.clave,  m.titulo, m.depende FROM  lar_menusistema m "
                            "WHERE titulo = 'Sistema'"));
    lee(false);
    q.setSql(QStringLiteral("SELECT distinct m.clave,  m.titulo, m.depende FROM  lar_menusistema m "
                            "JOIN lar_menubotones b on b.clave = m.clave WHERE sistema = 'LVN'"));
    lee(true);
    return r;
}

QList<ModuloSeguridad> DatosSeguridad::modulos(int clave)
{
    QList<ModuloSeguridad> r;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("Select tag,titulo from lar_menubotones where clave=")
             + QString::number(clave) + QStringLiteral(" and sistema='LVN' "));
    for (q.open(); !q.eof(); q.next())
        r << ModuloSeguridad{q.field(0).toInt(), q.field(1).toTrimmed().remove(u'&')};
    q.close();
    return r;
}

QStringList DatosSeguridad::derechos(int tag)
{
    QStringList r;
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("SELECT titulo,LUGAR FROM lar_menubotondef WHERE TAG = ")
             + QString::number(tag) + QStringLiteral(" ORDER BY LUGAR"));
    for (q.open(); !q.eof(); q.next())
        r << q.field(0).toTrimmed();
    q.close();
    return r;
}

ValoresPermisos DatosSeguridad::permisos(const QString &usuario)
{
    ValoresPermisos v{};
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("SELECT modulo, acceso FROM lar_permisos WHERE usuario = :u"));
    q.bind(QStringLiteral("u"), usuario);
    for (q.open(); !q.eof(); q.next()) {
        const int modulo = q.field(0).toInt();
        if (tagValido(modulo))
            v[size_t(modulo)] = quint32(q.field(1).toInt64());
    }
    q.close();
    return v;
}

QString DatosSeguridad::guarda(const QString &usuario,
                               const ValoresPermisos &valores,
                               const QList<int> &tags)
{
    try {
        fb::TransactionGuard guarda(m_sesion.fbUpdateTrans());
        fb::Query upd(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        upd.setSql(QStringLiteral("UPDATE lar_permisos SET acceso = :acceso WHERE modulo = :modulo "
                                  "and usuario = :usuario"));
        fb::Query ins(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        ins.setSql(QStringLiteral("INSERT INTO lar_permisos (modulo, usuario, acceso) VALUES "
                                  "(:modulo, :usuario, :acceso)"));
        for (int tag : tags) {
            if (!tagValido(tag))
                continue;
            // The column is a signed integer; the mask goes in as its 32 bits.
            const qint32 acceso = qint32(valores[size_t(tag)]);
            upd.bind(QStringLiteral("acceso"), acceso);
            upd.bind(QStringLiteral("modulo"), tag);
            upd.bind(QStringLiteral("usuario"), usuario);
            if (upd.execute() > 0)
                continue;
            ins.bind(QStringLiteral("modulo"), tag);
            ins.bind(QStringLiteral("usuario"), usuario);
            ins.bind(QStringLiteral("acceso"), acceso);
            ins.execute();
        }
        guarda.commit();
        return {};
    } catch (const std::exception &e) {
        return TextoExcepcion(e);
    }
}

} // namespace lar
