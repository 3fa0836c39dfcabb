// The permission editor against the local server: an administrator grants a
// user rights that his next login sees, a user who may only look can't edit,
// edits live across menus until saved or cancelled, and only touched modules
// are written.

#include "../core/ayudagui.h"
#include "security/modseguridad.h"
#include "security/sisdiseno.h"
#include "shared/flista.h"
#include "support/accesibilidad.h"
#include "support/consultas.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"
#include "toolkit/safecheckgroup.h"

#include <QLabel>

using namespace Qt::StringLiterals;
using namespace lar;
using lartest::alAparecer;
using lartest::nodo;

namespace {

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

    // "modulo|acceso" of the user's rows.
    QStringList guardados(const QString &usuario)
    {
        fb::Database db;
        m_env->conectaEmpresa(db);
        return lartest::filas(db,
                              u"select modulo, acceso from lar_permisos where usuario = '%1' "
                              u"order by modulo"_s.arg(usuario));
    }

    void administrador(Sesion &s)
    {
        m_env->conectaSesion(s);
        s.Permisos.fill(lartest::kAdministrador);
    }

private slots:
    void initTestCase()
    {
        m_env = lartest::entornoServidor(
            {{u"MARTA"_s, u"marta1"_s, u'T', {}}, {u"ROSA"_s, u"rosa1"_s, u'T', {}}},
            {{10, u"MARTA"_s, 1}, {2, u"ROSA"_s, 1}});
        if (!m_env)
            QSKIP("The local Firebird server isn't running (scripts/fbserver)");

        fb::Database db, config;
        m_env->conectaEmpresa(db);
        m_env->conectaConfig(config);
        for (const QString &sql :
             {// Never listed, whatever it holds.
              u"insert into lar_menusistema values (18, 'Oculto', 0)"_s,
              u"insert into lar_menubotones values (18, 50, 'Oculto', 'LVN')"_s,
              u"insert into lar_menubotondef values (50, 'Ver', 1)"_s,
              // A menu whose only module has no rights.
              u"insert into lar_menusistema values (20, 'Vacío', 0)"_s,
              u"insert into lar_menubotones values (20, 60, 'Sin derechos', 'LVN')"_s,
              // A module without rights among others, and a submenu.
              u"insert into lar_menubotones values (8, 61, 'Sin derechos', 'LVN')"_s,
              u"insert into lar_menusistema values (21, 'Cajas', 8)"_s,
              u"insert into lar_menubotones values (21, 62, '&Cortes', 'LVN')"_s,
              u"insert into lar_menubotondef values (62, 'Consulta', 1)"_s})
            lartest::ejecuta(db, sql);
        // A group of Microsip users is no user.
        lartest::ejecuta(
            config,
            u"insert into usuarios (usuario_id, nombre, tipo) values (-1, 'VENTAS', 'G')"_s);
    }

    void arbolYGrupos()
    {
        Sesion s;
        administrador(s);
        TfModSeguridad f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        LAR_VERIFICA_ACCESIBLE(&f);
        {
            Tfsis_diseno diseno(s);
            LAR_VERIFICA_ACCESIBLE(&diseno);
        }
        QVERIFY(f.Conectado);
        QStringList raices;
        for (int i = 0; i < f.Tree->topLevelItemCount(); ++i)
            raices << f.Tree->topLevelItem(i)->text(0);
        QCOMPARE(
            raices,
            (QStringList{u"Catálogos"_s, u"Operación"_s, u"Reportes"_s, u"Sistema"_s, u"Vacío"_s}));
        QVERIFY(!nodo(f.Tree, u"Oculto"_s));
        // The first menu is shown at once.
        QCOMPARE(f.Tree->currentItem()->text(0), u"Catálogos"_s);
        QCOMPARE(tagsVisibles(f), QList<int>{72});
        TSafeCheckGroup *g = grupo(f, 72);
        QCOMPARE(g->title(), u"Artículos con puntos"_s);
        QCOMPARE(g->items(),
                 (QStringList{u"Consulta"_s,
                              u"Modificar puntos de regalo"_s,
                              u"Modificar valor en puntos"_s}));
        QCOMPARE(g->height(), 75);
        QVERIFY(!g->isEnabled());

        // The module without rights gives its slot to the next one.
        f.Tree->setCurrentItem(nodo(f.Tree, u"Operación"_s));
        QCOMPARE(tagsVisibles(f), (QList<int>{73, 75, 79}));
        QCOMPARE(f.Title->text(), u"Operación"_s);
        QCOMPARE(grupo(f, 73)->height(), 125);
        QCOMPARE(grupo(f, 75)->height(), 65);
        f.Tree->setCurrentItem(nodo(f.Tree, u"Cajas"_s));
        QCOMPARE(f.Title->text(), u"Operación - Cajas"_s);
        QCOMPARE(grupo(f, 62)->title(), u"Cortes"_s);
        QCOMPARE(grupo(f, 62)->height(), 40);
        f.Tree->setCurrentItem(nodo(f.Tree, u"Vacío"_s));
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
            eligeEnLista(f, u"MARTA"_s, &ofrecidos);
            QVERIFY(ofrecidos.contains(u"MARTA"_s));
            QVERIFY(ofrecidos.contains(u"ROSA"_s));
            QVERIFY(!ofrecidos.contains(u"VENTAS"_s));
            QCOMPARE(f.vPers->text(), u"MARTA"_s);
            QCOMPARE(f.UsuarioEditado, u"MARTA"_s);
            QVERIFY(f.bEditUsr->isEnabled());
            QVERIFY(!f.bSaveUsr->isEnabled());

            f.bEditUsr->click();
            QVERIFY(!f.bPers->isEnabled());
            QVERIFY(f.bSaveUsr->isEnabled());
            f.Tree->setCurrentItem(nodo(f.Tree, u"Sistema"_s));
            QCOMPARE(grupo(f, 10)->value(), 1u); // stored
            QVERIFY(grupo(f, 10)->isEnabled());
            grupo(f, 10)->boton(1)->click();
            f.Tree->setCurrentItem(nodo(f.Tree, u"Operación"_s));
            // "Nuevo" without "Consulta": the boxes are independent.
            grupo(f, 73)->boton(1)->click();
            grupo(f, 73)->boton(3)->click();
            QCOMPARE(grupo(f, 73)->value(), 10u);
            f.Tree->setCurrentItem(nodo(f.Tree, u"Reportes"_s));
            grupo(f, 74)->boton(0)->click();
            // Back to a menu: its edits are there.
            f.Tree->setCurrentItem(nodo(f.Tree, u"Operación"_s));
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
        QCOMPARE(guardados(u"MARTA"_s), (QStringList{u"10|3"_s, u"73|10"_s, u"74|1"_s}));

        // Her next login sees those modules and no others.
        lartest::GuionMensajes guion;
        lartest::Arranque a;
        TfMain &m = a.m;
        QVERIFY(lartest::entraAlMain(m, u"marta"_s, u"marta1"_s));
        QCOMPARE(guion.textos(), QStringList());
        Sesion &s = m.sesion();
        for (int t = 1; t < 80; ++t) {
            const quint32 esperado = t == 10 ? 3 : t == 73 ? 10 : t == 74 ? 1 : 0;
            QCOMPARE(s.Permisos[t], esperado);
        }
        QCOMPARE(lartest::entradasErradas(m, {0, 10, 73, 74}), QStringList());
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
        f.eligeUsuario(u"ROSA"_s);
        f.Tree->setCurrentItem(nodo(f.Tree, u"Catálogos"_s));
        QCOMPARE(grupo(f, 72)->value(), 0u);
        f.bEditUsr->click();
        grupo(f, 72)->boton(2)->click();
        f.Tree->setCurrentItem(nodo(f.Tree, u"Reportes"_s));
        grupo(f, 77)->boton(0)->click();
        f.bCancelUsr->click();
        QVERIFY(!grupo(f, 77)->boton(0)->isChecked());
        QVERIFY(!grupo(f, 77)->isEnabled());
        QVERIFY(f.Cambiados.isEmpty());
        f.Tree->setCurrentItem(nodo(f.Tree, u"Catálogos"_s));
        QCOMPARE(grupo(f, 72)->value(), 0u);

        // Touching one module writes one row; clearing it stores 0, never a delete.
        f.bEditUsr->click();
        grupo(f, 72)->boton(0)->click();
        f.bSaveUsr->click();
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(guardados(u"ROSA"_s), (QStringList{u"2|1"_s, u"72|1"_s}));
        f.bEditUsr->click();
        grupo(f, 72)->boton(0)->click();
        f.bSaveUsr->click();
        QCOMPARE(guardados(u"ROSA"_s), (QStringList{u"2|1"_s, u"72|0"_s}));
        QCOMPARE(guion.textos(), QStringList());
    }

    void soloConsultar()
    {
        // ROSA, logged in on her own account, holds only "Consultar permisos".
        Sesion s;
        m_env->conectaSesion(s, u"DEMO"_s, u"ROSA"_s, u"rosa1"_s);
        s.Permisos[2] = 1;
        TfModSeguridad f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        f.eligeUsuario(u"MARTA"_s);
        f.Tree->setCurrentItem(nodo(f.Tree, u"Operación"_s));
        QCOMPARE(grupo(f, 73)->value(), 10u); // she sees
        QVERIFY(!f.bEditUsr->isEnabled());    // but can't edit
        QVERIFY(!grupo(f, 73)->isEnabled());
        QVERIFY(!f.bSaveUsr->isEnabled());
    }
};

LAR_TEST_MAIN(TstPermisos)
#include "tst_security_permisos.moc"
