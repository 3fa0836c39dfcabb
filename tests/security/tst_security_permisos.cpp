// The permission editor against the local server: an administrator grants a
// user rights that his next login sees, a user who may only look can't edit,
// edits live across menus until saved or cancelled, and only touched modules
// are written.

#include "../core/ayudagui.h"
#include "security/sisdiseno.h"

#include "core/conecta.h"
#include "core/fmain.h"
#include "security/modseguridad.h"
#include "shared/flista.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"
#include "toolkit/ribbon.h"
#include "toolkit/safecheckgroup.h"
#include "toolkit/tag.h"

#include "support/accesibilidad.h"
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <memory>

using namespace lar;
using lartest::alAparecer;

namespace {

constexpr quint32 kAdministrador = 1048575;

void ejecuta(Sesion &s, fb::Database &db, fb::Transaction &tr, const QStringList &sqls)
{
    fb::Query q(&db, &tr);
    for (const QString &sql : sqls) {
        q.setSql(sql);
        q.execute();
    }
    tr.commit();
    Q_UNUSED(s);
}

QTreeWidgetItem *nodo(QTreeWidget *t, const QString &texto)
{
    const QList<QTreeWidgetItem *> l = t->findItems(texto, Qt::MatchExactly | Qt::MatchRecursive);
    return l.isEmpty() ? nullptr : l.first();
}

TSafeCheckGroup *grupo(const TfModSeguridad &f, int tag)
{
    const QList<TSafeCheckGroup *> grupos = f.gruposVisibles();
    for (TSafeCheckGroup *g : grupos) {
        if (Tag(g) == tag)
            return g;
    }
    return nullptr;
}

QList<int> tagsVisibles(const TfModSeguridad &f)
{
    QList<int> r;
    const QList<TSafeCheckGroup *> grupos = f.gruposVisibles();
    for (TSafeCheckGroup *g : grupos)
        r << Tag(g);
    std::sort(r.begin(), r.end());
    return r;
}

// Chooses a user in the picker that bPers opens.
void eligeEnLista(TfModSeguridad &f, const QString &usuario, QStringList *ofrecidos = nullptr)
{
    alAparecer<TFLista>([&](TFLista *l) {
        if (ofrecidos) {
            MemTable *t = l->dataSet();
            for (int i = 0; i < t->recordCount(); ++i)
                *ofrecidos << t->valueAt(i, 0).toString();
        }
        QTest::keyClicks(l->Busca, usuario);
        l->Aceptar->click();
    });
    f.bPers->click();
}

} // namespace

class TstPermisos : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;

    QMap<int, int> guardados(const QString &usuario)
    {
        Sesion s;
        m_env->conectaSesion(s);
        fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
        q.setSql(QStringLiteral("select modulo, acceso from lar_permisos where usuario = :u"));
        q.bind(QStringLiteral("u"), usuario);
        QMap<int, int> r;
        for (q.open(); !q.eof(); q.next())
            r.insert(q.field(0).toInt(), q.field(1).toInt());
        return r;
    }

    void administrador(Sesion &s)
    {
        m_env->conectaSesion(s);
        s.Permisos.fill(kAdministrador);
    }

private slots:
    void initTestCase()
    {
        if (!lartest::serverAvailable())
            QSKIP("The local Firebird server isn't running (scripts/fbserver)");
        lartest::OpcionesPrueba op;
        op.servidor = true;
        op.usuarios = {{QStringLiteral("MARTA"), QStringLiteral("marta1"), u'T', {}},
                       {QStringLiteral("ROSA"), QStringLiteral("rosa1"), u'T', {}}};
        m_env = std::make_unique<lartest::EntornoPrueba>(op);
        lartest::preparaExtension(
            *m_env, {{10, QStringLiteral("MARTA"), 1}, {2, QStringLiteral("ROSA"), 1}});
        lartest::usaPerfiles(m_env->entorno());

        Sesion s;
        m_env->conectaSesion(s);
        ejecuta(
            s,
            s.fbDatabase(),
            s.fbUpdateTrans(),
            {// Never listed, whatever it holds.
             QStringLiteral("insert into lar_menusistema values (18, 'Oculto', 0)"),
             QStringLiteral("insert into lar_menubotones values (18, 50, 'Oculto', 'LVN')"),
             QStringLiteral("insert into lar_menubotondef values (50, 'Ver', 1)"),
             // A menu whose only module has no rights.
             QStringLiteral("insert into lar_menusistema values (20, 'Vacío', 0)"),
             QStringLiteral("insert into lar_menubotones values (20, 60, 'Sin derechos', 'LVN')"),
             // A module without rights among others, and a submenu.
             QStringLiteral("insert into lar_menubotones values (8, 61, 'Sin derechos', 'LVN')"),
             QStringLiteral("insert into lar_menusistema values (21, 'Cajas', 8)"),
             QStringLiteral("insert into lar_menubotones values (21, 62, '&Cortes', 'LVN')"),
             QStringLiteral("insert into lar_menubotondef values (62, 'Consulta', 1)")});
        // A group of Microsip users is no user.
        ejecuta(s,
                s.fbConfig(),
                s.fbConfigTrans(),
                {QStringLiteral(
                    "insert into usuarios (usuario_id, nombre, tipo) values (-1, 'VENTAS', 'G')")});
    }

    void arbolYGrupos()
    {
        Sesion s;
        administrador(s);
        TfModSeguridad f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        QCOMPARE(f.windowTitle(), QStringLiteral("Módulo de Seguridad"));
        LAR_VERIFICA_ACCESIBLE(&f);
        {
            Tfsis_diseno diseno(s);
            LAR_VERIFICA_ACCESIBLE(&diseno);
        }
        QCOMPARE(f.vPers->text(), QStringLiteral(" < Seleccione un usuario >"));
        QVERIFY(f.Conectado);
        QStringList raices;
        for (int i = 0; i < f.Tree->topLevelItemCount(); ++i)
            raices << f.Tree->topLevelItem(i)->text(0);
        QCOMPARE(raices,
                 (QStringList{QStringLiteral("Catálogos"),
                              QStringLiteral("Operación"),
                              QStringLiteral("Reportes"),
                              QStringLiteral("Sistema"),
                              QStringLiteral("Vacío")}));
        QVERIFY(!nodo(f.Tree, QStringLiteral("Oculto")));
        // The first menu is shown at once.
        QCOMPARE(f.Tree->currentItem()->text(0), QStringLiteral("Catálogos"));
        QCOMPARE(tagsVisibles(f), QList<int>{72});
        TSafeCheckGroup *g = grupo(f, 72);
        QCOMPARE(g->title(), QStringLiteral("Artículos con puntos"));
        QCOMPARE(g->items(),
                 (QStringList{QStringLiteral("Consulta"),
                              QStringLiteral("Modificar puntos de regalo"),
                              QStringLiteral("Modificar valor en puntos")}));
        QCOMPARE(g->height(), 75);
        QVERIFY(!g->isEnabled());

        // The module without rights gives its slot to the next one.
        f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Operación")));
        QCOMPARE(tagsVisibles(f), (QList<int>{73, 75, 79}));
        QCOMPARE(f.Title->text(), QStringLiteral("Operación"));
        QCOMPARE(grupo(f, 73)->height(), 125);
        QCOMPARE(grupo(f, 75)->height(), 65);
        f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Cajas")));
        QCOMPARE(f.Title->text(), QStringLiteral("Operación - Cajas"));
        QCOMPARE(grupo(f, 62)->title(), QStringLiteral("Cortes"));
        QCOMPARE(grupo(f, 62)->height(), 40);
        f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Vacío")));
        QVERIFY(f.gruposVisibles().isEmpty());
        QVERIFY(f.Title->text().isEmpty());
    }

    void administradorConcedeYUsuarioEntra()
    {
        {
            lartest::GuionMensajes guion;
            Sesion s;
            administrador(s);
            TfModSeguridad f(s);
            f.show();
            QVERIFY(QTest::qWaitForWindowExposed(&f));
            QStringList ofrecidos;
            eligeEnLista(f, QStringLiteral("MARTA"), &ofrecidos);
            QVERIFY(ofrecidos.contains(QStringLiteral("MARTA")));
            QVERIFY(ofrecidos.contains(QStringLiteral("ROSA")));
            QVERIFY(!ofrecidos.contains(QStringLiteral("VENTAS")));
            QCOMPARE(f.vPers->text(), QStringLiteral("MARTA"));
            QCOMPARE(f.UsuarioEditado, QStringLiteral("MARTA"));
            QVERIFY(f.bEditUsr->isEnabled());
            QVERIFY(!f.bSaveUsr->isEnabled());

            f.bEditUsr->click();
            QVERIFY(!f.bPers->isEnabled());
            QVERIFY(f.bSaveUsr->isEnabled());
            f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Sistema")));
            QCOMPARE(grupo(f, 10)->value(), 1u); // stored
            QVERIFY(grupo(f, 10)->isEnabled());
            grupo(f, 10)->boton(1)->click();
            f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Operación")));
            // "Nuevo" without "Consulta": the boxes are independent.
            grupo(f, 73)->boton(1)->click();
            grupo(f, 73)->boton(3)->click();
            QCOMPARE(grupo(f, 73)->value(), 10u);
            f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Reportes")));
            grupo(f, 74)->boton(0)->click();
            // Back to a menu: its edits are there.
            f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Operación")));
            QCOMPARE(grupo(f, 73)->value(), 10u);
            QVERIFY(grupo(f, 73)->boton(1)->isChecked());
            QCOMPARE(f.Cambiados, (QList<int>{10, 73, 74}));

            f.bSaveUsr->click();
            QCOMPARE(guion.textos(), QStringList());
            QVERIFY(!f.bSaveUsr->isEnabled());
            QVERIFY(f.bEditUsr->isEnabled());
            QVERIFY(!grupo(f, 73)->isEnabled());
        }
        // One row updated, two inserted, none for what wasn't touched.
        QCOMPARE(guardados(QStringLiteral("MARTA")), (QMap<int, int>{{10, 3}, {73, 10}, {74, 1}}));

        // Her next login sees those modules and no others.
        lartest::GuionMensajes guion;
        TfMain m;
        m.sesion().terminaAplicacion = [] {
        };
        alAparecer<TfConecta>([](TfConecta *c) {
            c->vUsuario->setText(QStringLiteral("marta"));
            c->vPass->setText(QStringLiteral("marta1"));
            c->bOk->click();
        });
        m.show();
        QTRY_VERIFY_WITH_TIMEOUT(m.windowTitle().endsWith(QStringLiteral(" - MARTA")), 20000);
        QCOMPARE(guion.textos(), QStringList());
        Sesion &s = m.sesion();
        for (int t = 1; t < 80; ++t) {
            const quint32 esperado = t == 10 ? 3 : t == 73 ? 10 : t == 74 ? 1 : 0;
            QCOMPARE(s.Permisos[t], esperado);
        }
        const QList<RibbonBoton *> botones = m.findChildren<RibbonBoton *>();
        for (RibbonBoton *b : botones) {
            if (!b->accion())
                continue;
            const bool esperado = QList<int>{0, 10, 73, 74}.contains(Tag(b->accion()));
            QVERIFY2(b->isEnabled() == esperado, qPrintable(b->objectName()));
        }
        QVERIFY(!m.aSisPermisos->isEnabled());
        QVERIFY(!m.aSisPermisosDes->isEnabled());
    }

    void cancelarYSoloTocados()
    {
        lartest::GuionMensajes guion;
        Sesion s;
        administrador(s);
        TfModSeguridad f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        // A user without rows: every box clear.
        f.eligeUsuario(QStringLiteral("ROSA"));
        f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Catálogos")));
        QCOMPARE(grupo(f, 72)->value(), 0u);
        f.bEditUsr->click();
        grupo(f, 72)->boton(2)->click();
        f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Reportes")));
        grupo(f, 77)->boton(0)->click();
        f.bCancelUsr->click();
        QVERIFY(!grupo(f, 77)->boton(0)->isChecked());
        QVERIFY(!grupo(f, 77)->isEnabled());
        QVERIFY(f.Cambiados.isEmpty());
        f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Catálogos")));
        QCOMPARE(grupo(f, 72)->value(), 0u);

        // Touching one module writes one row; clearing it stores 0, never a delete.
        f.bEditUsr->click();
        grupo(f, 72)->boton(0)->click();
        f.bSaveUsr->click();
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(guardados(QStringLiteral("ROSA")), (QMap<int, int>{{2, 1}, {72, 1}}));
        f.bEditUsr->click();
        grupo(f, 72)->boton(0)->click();
        f.bSaveUsr->click();
        QCOMPARE(guardados(QStringLiteral("ROSA")), (QMap<int, int>{{2, 1}, {72, 0}}));
        QCOMPARE(guion.textos(), QStringList());
    }

    void soloConsultar()
    {
        // ROSA, logged in on her own account, holds only "Consultar permisos".
        Sesion s;
        m_env->conectaSesion(
            s, QStringLiteral("DEMO"), QStringLiteral("ROSA"), QStringLiteral("rosa1"));
        s.Permisos[2] = 1;
        TfModSeguridad f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        f.eligeUsuario(QStringLiteral("MARTA"));
        f.Tree->setCurrentItem(nodo(f.Tree, QStringLiteral("Operación")));
        QCOMPARE(grupo(f, 73)->value(), 10u); // she sees
        QVERIFY(!f.bEditUsr->isEnabled());    // but can't edit
        QVERIFY(!grupo(f, 73)->isEnabled());
        QVERIFY(!f.bSaveUsr->isEnabled());
    }
};

LAR_TEST_MAIN(TstPermisos)
#include "tst_security_permisos.moc"
