// The design of the rights catalogue: menus on an empty tree and below others,
// deleted leaves first; modules added once per menu; rights numbered after the
// last, deleted without rewriting what users hold; titles with apostrophes.

#include "../core/ayudagui.h"

#include "core/conecta.h"
#include "core/fmain.h"
#include "security/datosseguridad.h"
#include "security/modulos.h"
#include "security/sisdiseno.h"
#include "shared/flista.h"
#include "shared/listas.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"
#include "toolkit/ribbon.h"

#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

#include <memory>

using namespace lar;
using lartest::alAparecer;

namespace {

constexpr quint32 kAdministrador = 1048575;

// Each row of a select as "a|b|c".
QStringList filas(Sesion &s, const QString &sql)
{
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(sql);
    QStringList r;
    for (q.open(); !q.eof(); q.next()) {
        QStringList campos;
        for (int i = 0; i < q.fieldCount(); ++i)
            campos << q.field(i).toTrimmed();
        r << campos.join(u'|');
    }
    q.close();
    s.fbViewTrans().commit();
    return r;
}

QTreeWidgetItem *nodo(QTreeWidget *t, const QString &texto)
{
    const QList<QTreeWidgetItem *> l = t->findItems(texto, Qt::MatchExactly | Qt::MatchRecursive);
    return l.isEmpty() ? nullptr : l.first();
}

// bNew's popup: checks what it offers and takes one entry.
void nuevo(Tfsis_diseno &f, bool independiente, bool *agregarHabilitado = nullptr)
{
    alAparecer<QMenu>([&](QMenu *m) {
        if (agregarHabilitado)
            *agregarHabilitado = f.mAdd->isEnabled();
        (independiente ? f.mAddInd : f.mAdd)->trigger();
        m->close();
    });
    f.bNew->click();
}

// The module picker: searches by the column given and accepts.
void eligeModulo(Tfsis_diseno &f, int columna, const QString &texto)
{
    ListaBusquedaIni = columna;
    alAparecer<TFLista>([&](TFLista *l) {
        QTest::keyClicks(l->Busca, texto);
        l->Aceptar->click();
    });
    f.bAddServ->click();
}

// TfCheckButton: first a blank name, which it refuses, then the name given.
void nombraOpcion(QToolButton *boton, const QString &nombre, QString *previo = nullptr)
{
    alAparecer<TfCheckButton>([=](TfCheckButton *d) {
        if (previo)
            *previo = d->vValor->text();
        d->vValor->setText(QStringLiteral("   "));
        d->BitBtn1->click();
        if (!d->isVisible())
            return;
        d->vValor->setText(nombre);
        d->BitBtn1->click();
    });
    boton->click();
}

bool eligeFila(MemTable &t, const QString &campo, const QVariant &valor)
{
    return t.locate(campo, valor);
}

} // namespace

class TstDiseno : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;

    void administrador(Sesion &s, const QString &empresa = QStringLiteral("DEMO"))
    {
        m_env->conectaSesion(s, empresa);
        s.Permisos.fill(kAdministrador);
    }

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.empresas = {QStringLiteral("DEMO"), QStringLiteral("VACIA")};
        m_env = std::make_unique<lartest::EntornoPrueba>(op);
        lartest::preparaExtension(*m_env, {{60, QStringLiteral("LUIS"), 5}});
        lartest::preparaExtension(*m_env, {}, QStringLiteral("VACIA"));
        Sesion s;
        m_env->conectaSesion(s, QStringLiteral("VACIA"));
        fb::Query q(&s.fbDatabase(), &s.fbUpdateTrans());
        q.setSql(QStringLiteral("delete from lar_menusistema"));
        q.execute();
        s.UpdateCommit();
        lartest::usaPerfiles(m_env->entorno());
    }

    void menus()
    {
        lartest::GuionMensajes guion;
        Sesion s;
        administrador(s, QStringLiteral("VACIA"));
        Tfsis_diseno f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        QCOMPARE(f.windowTitle(), QStringLiteral("Diseño de la seguridad"));
        QCOMPARE(f.Lista->topLevelItemCount(), 0);
        QVERIFY(f.bNew->isEnabled());
        QVERIFY(!f.bEdit->isEnabled());
        QVERIFY(!f.bDel->isEnabled());
        QVERIFY(!f.bAddServ->isEnabled());
        QVERIFY(!f.bSave->isEnabled());

        // An empty tree: only a menu of its own.
        bool agregar = true;
        nuevo(f, true, &agregar);
        QVERIFY(!agregar);
        QVERIFY(f.Nuevo);
        QCOMPARE(f.Edit1->text(), QStringLiteral("1"));
        QVERIFY(f.bSave->isEnabled());
        QVERIFY(!f.bNew->isEnabled());
        QVERIFY(!f.Edit2->isReadOnly());
        f.bSave->click();
        QCOMPARE(guion.textos(),
                 QStringList{QStringLiteral("Debe escribir un título para el menú")});
        QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Aviso del sistema"));
        QVERIFY(f.Nuevo);
        guion.limpia();
        f.Edit2->setText(QStringLiteral("Caja's"));
        f.bSave->click();
        QCOMPARE(guion.textos(), QStringList());
        QVERIFY(!f.Nuevo);
        QCOMPARE(f.Lista->currentItem()->text(0), QStringLiteral("Caja's"));
        QCOMPARE(filas(s, QStringLiteral("select clave, titulo, depende from lar_menusistema")),
                 QStringList{QStringLiteral("1|Caja's|0")});

        // A child of the chosen menu takes the next number.
        nuevo(f, false, &agregar);
        QVERIFY(agregar);
        QCOMPARE(f.Edit1->text(), QStringLiteral("2"));
        f.Edit2->setText(QStringLiteral("Cortes"));
        f.bSave->click();
        QCOMPARE(f.Lista->currentItem()->parent(), nodo(f.Lista, QStringLiteral("Caja's")));

        // Cancel leaves the title as stored.
        f.Lista->setCurrentItem(nodo(f.Lista, QStringLiteral("Caja's")));
        f.bEdit->click();
        QVERIFY(!f.Lista->isEnabled());
        f.Edit2->setText(QStringLiteral("Otra"));
        f.bCancel->click();
        QCOMPARE(f.Edit2->text(), QStringLiteral("Caja's"));
        QVERIFY(f.Edit2->isReadOnly());
        f.bEdit->click();
        f.Edit2->setText(QStringLiteral("Caja d'Ana"));
        f.bSave->click();
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(f.Lista->currentItem()->text(0), QStringLiteral("Caja d'Ana"));
        QCOMPARE(filas(s,
                       QStringLiteral(
                           "select clave, titulo, depende from lar_menusistema order by clave")),
                 (QStringList{QStringLiteral("1|Caja d'Ana|0"), QStringLiteral("2|Cortes|1")}));

        // Deleting a menu with children takes the children; the menu stays for a second delete.
        guion.responde({mb::IdYes});
        f.bDel->click();
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(guion.cajas()[0].texto, QStringLiteral("¿Desea borrar \"Caja d'Ana\"?"));
        QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Borrar"));
        QCOMPARE(guion.cajas()[0].botones(), int(mb::YesNo));
        QCOMPARE(guion.cajas()[0].predeterminado(), 2);
        QCOMPARE(filas(s, QStringLiteral("select clave from lar_menusistema")),
                 QStringList{QStringLiteral("1")});
        QVERIFY(!nodo(f.Lista, QStringLiteral("Cortes")));
        guion.limpia();
        f.bDel->click(); // answered No by default
        QCOMPARE(f.Lista->topLevelItemCount(), 1);
        guion.responde({mb::IdYes});
        f.bDel->click();
        QCOMPARE(f.Lista->topLevelItemCount(), 0);
        QVERIFY(filas(s, QStringLiteral("select clave from lar_menusistema")).isEmpty());
        QVERIFY(!f.bEdit->isEnabled());
    }

    void modulosYDerechos()
    {
        lartest::GuionMensajes guion;
        Sesion s;
        administrador(s);
        Tfsis_diseno f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        // The seeded menus keep their numbers: a new one skips them.
        QCOMPARE(f.Lista->topLevelItemCount(), 4);
        f.Lista->setCurrentItem(nodo(f.Lista, QStringLiteral("Catálogos")));
        QCOMPARE(f.Edit1->text(), QStringLiteral("5"));
        QCOMPARE(f.btnQuery->recordCount(), 1);
        QCOMPARE(f.qTags->recordCount(), 3);
        QVERIFY(f.bDelServ->isEnabled());

        // A module already under the menu: the key refuses it.
        eligeModulo(f, 1, QStringLiteral("Art"));
        QCOMPARE(guion.cajas().size(), 1);
        QVERIFY(guion.cajas()[0].texto.startsWith(
            QStringLiteral("No fue posible guardar el módulo: ")));
        QVERIFY(guion.cajas()[0].texto.size() > 40); // with the engine's words
        QCOMPARE(f.btnQuery->recordCount(), 1);
        guion.limpia();

        // A module without rights: the first one takes LUGAR 1, the next ones follow.
        eligeModulo(f, 0, QStringLiteral("60"));
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(filas(s,
                       QStringLiteral("select tag, coalesce(sistema, '-') from lar_menubotones "
                                      "where clave = 5 order by tag")),
                 (QStringList{QStringLiteral("60|-"), QStringLiteral("72|LVN")}));
        QVERIFY(eligeFila(*f.btnQuery, QStringLiteral("tag"), 60));
        QVERIFY(f.qTags->isEmpty());
        QVERIFY(f.BitBtn1->isEnabled());
        QVERIFY(!f.BitBtn2->isEnabled());
        nombraOpcion(f.BitBtn1, QStringLiteral("  Ver d'Ana  "));
        QCOMPARE(guion.textos(),
                 QStringList{QStringLiteral("Debe escribir el nombre de la opción")});
        guion.limpia();
        nombraOpcion(f.BitBtn1, QStringLiteral("Editar"));
        nombraOpcion(f.BitBtn1, QStringLiteral("Borrar"));
        QCOMPARE(
            filas(s,
                  QStringLiteral(
                      "select lugar, titulo from lar_menubotondef where tag = 60 order by lugar")),
            (QStringList{QStringLiteral("1|Ver d'Ana"),
                         QStringLiteral("2|Editar"),
                         QStringLiteral("3|Borrar")}));
        QCOMPARE(f.qTags->recordCount(), 3);

        // Cancelling the name does nothing.
        alAparecer<TfCheckButton>([](TfCheckButton *d) {
            d->vValor->setText(QStringLiteral("Nada"));
            d->BitBtn2->click();
        });
        f.BitBtn1->click();
        QCOMPARE(f.qTags->recordCount(), 3);

        // Deleting a right, without a question: the later ones move one bit down and
        // what users hold isn't rewritten.
        guion.limpia();
        QVERIFY(eligeFila(*f.qTags, QStringLiteral("lugar"), 2));
        f.BitBtn2->click();
        QVERIFY(guion.cajas().isEmpty());
        QCOMPARE(filas(s,
                       QStringLiteral(
                           "select lugar from lar_menubotondef where tag = 60 order by lugar")),
                 (QStringList{QStringLiteral("1"), QStringLiteral("3")}));
        QCOMPARE(
            filas(s,
                  QStringLiteral(
                      "select acceso from lar_permisos where modulo = 60 and usuario = 'LUIS'")),
            QStringList{QStringLiteral("5")});
        QCOMPARE(DatosSeguridad(s).derechos(60),
                 (QStringList{QStringLiteral("Ver d'Ana"), QStringLiteral("Borrar")}));

        // Renaming keeps the place.
        QVERIFY(eligeFila(*f.qTags, QStringLiteral("lugar"), 3));
        QString previo;
        nombraOpcion(f.BitBtn3, QStringLiteral("Quitar"), &previo);
        QCOMPARE(previo, QStringLiteral("Borrar"));
        QCOMPARE(
            filas(s,
                  QStringLiteral(
                      "select lugar, titulo from lar_menubotondef where tag = 60 order by lugar")),
            (QStringList{QStringLiteral("1|Ver d'Ana"), QStringLiteral("3|Quitar")}));

        // Removing the module from the menu, after the question.
        guion.limpia();
        guion.responde({mb::IdYes});
        QVERIFY(eligeFila(*f.btnQuery, QStringLiteral("tag"), 60));
        f.bDelServ->click();
        QCOMPARE(guion.textos(),
                 QStringList{QStringLiteral("¿Desea borrar el módulo de la lista?")});
        QCOMPARE(filas(s, QStringLiteral("select tag from lar_menubotones where clave = 5")),
                 QStringList{QStringLiteral("72")});
        QCOMPARE(f.btnQuery->recordCount(), 1);

        // A new menu under "Catálogos" skips the numbers the seed took.
        nuevo(f, false);
        const int clave = f.Edit1->text().toInt();
        QVERIFY(!QList<int>({2, 4, 5, 8}).contains(clave));
        f.Edit2->setText(QStringLiteral("Promociones"));
        f.bSave->click();
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(filas(s,
                       QStringLiteral(
                           "select depende from lar_menusistema where titulo = 'Promociones'")),
                 QStringList{QStringLiteral("5")});
    }

    void teclaDelAdministrador()
    {
        // One company, so the login goes straight in.
        lartest::EntornoPrueba env;
        lartest::preparaExtension(env, {});
        lartest::usaPerfiles(env.entorno());
        RegistraModulosSeguridad();
        lartest::GuionMensajes guion;
        TfMain m;
        m.sesion().terminaAplicacion = [] {
        };
        alAparecer<TfConecta>([](TfConecta *c) {
            c->vUsuario->setText(QStringLiteral("SYSDBA"));
            c->vPass->setText(QStringLiteral("x"));
            c->bOk->click();
        });
        m.show();
        QTRY_VERIFY_WITH_TIMEOUT(m.windowTitle().endsWith(QStringLiteral(" - SYSDBA")), 20000);
        QVERIFY(m.bDisenoSeguridad->isHidden());
        QVERIFY(m.aSisPermisosDes->isEnabled());
        bool abierta = false;
        alAparecer<Tfsis_diseno>([&](Tfsis_diseno *d) {
            abierta = d->Lista->topLevelItemCount() > 0;
            d->reject();
        });
        QApplication::setActiveWindow(&m);
        QVERIFY(QTest::qWaitForWindowActive(&m));
        QTest::keyClick(&m, Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(abierta);
        QCOMPARE(guion.textos(), QStringList());
    }
};

LAR_TEST_MAIN(TstDiseno)
#include "tst_security_diseno.moc"
