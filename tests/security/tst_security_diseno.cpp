// The design of the rights catalogue: menus on an empty tree and below others,
// deleted leaves first; modules added once per menu; rights numbered after the
// last, deleted without rewriting what users hold; titles with apostrophes.

#include "../core/ayudagui.h"
#include "security/datosseguridad.h"
#include "security/modulos.h"
#include "security/sisdiseno.h"
#include "shared/flista.h"
#include "shared/listas.h"
#include "support/consultas.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace lar;
using lartest::alAparecer;
using lartest::nodo;

namespace {

QStringList filas(Sesion &s, const QString &sql)
{
    return lartest::filas(s.fbDatabase(), sql);
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
        d->vValor->setText(u"   "_s);
        d->BitBtn1->click();
        if (!d->isVisible())
            return;
        d->vValor->setText(nombre);
        d->BitBtn1->click();
    });
    boton->click();
}

} // namespace

class TstDiseno : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;

    void administrador(Sesion &s, const QString &empresa = u"DEMO"_s)
    {
        m_env->conectaSesion(s, empresa);
        s.Permisos.fill(lartest::kAdministrador);
    }

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.empresas = {u"DEMO"_s, u"VACIA"_s};
        m_env = std::make_unique<lartest::EntornoPrueba>(op);
        lartest::preparaExtension(*m_env, {{60, u"LUIS"_s, 5}});
        lartest::preparaExtension(*m_env, {}, u"VACIA"_s);
        fb::Database vacia;
        m_env->conectaEmpresa(vacia, u"VACIA"_s);
        lartest::ejecuta(vacia, u"delete from lar_menusistema"_s);
        lartest::usaPerfiles(m_env->entorno());
    }

    void menus()
    {
        lartest::GuionMensajes guion;
        Sesion s;
        administrador(s, u"VACIA"_s);
        Tfsis_diseno f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
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
        QCOMPARE(f.Edit1->text(), u"1"_s);
        QVERIFY(f.bSave->isEnabled());
        QVERIFY(!f.bNew->isEnabled());
        QVERIFY(!f.Edit2->isReadOnly());
        f.bSave->click();
        QCOMPARE(guion.textos(), QStringList{u"Debe escribir un título para el menú"_s});
        QCOMPARE(guion.cajas()[0].titulo, u"Aviso del sistema"_s);
        QVERIFY(f.Nuevo);
        guion.limpia();
        f.Edit2->setText(u"Caja's"_s);
        f.bSave->click();
        QCOMPARE(guion.textos(), QStringList());
        QVERIFY(!f.Nuevo);
        QCOMPARE(f.Lista->currentItem()->text(0), u"Caja's"_s);
        QCOMPARE(filas(s, u"select clave, titulo, depende from lar_menusistema"_s),
                 QStringList{u"1|Caja's|0"_s});

        // A child of the chosen menu takes the next number.
        nuevo(f, false, &agregar);
        QVERIFY(agregar);
        QCOMPARE(f.Edit1->text(), u"2"_s);
        f.Edit2->setText(u"Cortes"_s);
        f.bSave->click();
        QCOMPARE(f.Lista->currentItem()->parent(), nodo(f.Lista, u"Caja's"_s));

        // Cancel leaves the title as stored.
        f.Lista->setCurrentItem(nodo(f.Lista, u"Caja's"_s));
        f.bEdit->click();
        QVERIFY(!f.Lista->isEnabled());
        f.Edit2->setText(u"Otra"_s);
        f.bCancel->click();
        QCOMPARE(f.Edit2->text(), u"Caja's"_s);
        QVERIFY(f.Edit2->isReadOnly());
        f.bEdit->click();
        f.Edit2->setText(u"Caja d'Ana"_s);
        f.bSave->click();
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(f.Lista->currentItem()->text(0), u"Caja d'Ana"_s);
        QCOMPARE(filas(s, u"select clave, titulo, depende from lar_menusistema order by clave"_s),
                 (QStringList{u"1|Caja d'Ana|0"_s, u"2|Cortes|1"_s}));

        // Deleting a menu with children takes the children; the menu stays for a second delete.
        guion.responde({mb::IdYes});
        f.bDel->click();
        QCOMPARE(guion.textos(), QStringList{u"¿Desea borrar \"Caja d'Ana\"?"_s});
        QCOMPARE(guion.cajas()[0].titulo, u"Borrar"_s);
        QCOMPARE(guion.cajas()[0].botones(), int(mb::YesNo));
        QCOMPARE(guion.cajas()[0].predeterminado(), 2);
        QCOMPARE(filas(s, u"select clave from lar_menusistema"_s), QStringList{u"1"_s});
        QVERIFY(!nodo(f.Lista, u"Cortes"_s));
        guion.limpia();
        f.bDel->click(); // answered No by default
        QCOMPARE(f.Lista->topLevelItemCount(), 1);
        guion.responde({mb::IdYes});
        f.bDel->click();
        QCOMPARE(f.Lista->topLevelItemCount(), 0);
        QVERIFY(filas(s, u"select clave from lar_menusistema"_s).isEmpty());
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
        f.Lista->setCurrentItem(nodo(f.Lista, u"Catálogos"_s));
        QCOMPARE(f.Edit1->text(), u"5"_s);
        QCOMPARE(f.btnQuery->recordCount(), 1);
        QCOMPARE(f.qTags->recordCount(), 3);
        QVERIFY(f.bDelServ->isEnabled());

        // A module already under the menu: the key refuses it.
        eligeModulo(f, 1, u"Art"_s);
        QCOMPARE(guion.cajas().size(), 1);
        QVERIFY(guion.cajas()[0].texto.startsWith(u"No fue posible guardar el módulo: "_s));
        QVERIFY(guion.cajas()[0].texto.size() > 40); // with the engine's words
        QCOMPARE(f.btnQuery->recordCount(), 1);
        guion.limpia();

        // A module without rights: the first one takes LUGAR 1, the next ones follow.
        eligeModulo(f, 0, u"60"_s);
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(filas(s,
                       u"select tag, coalesce(sistema, '-') from lar_menubotones "
                       u"where clave = 5 order by tag"_s),
                 (QStringList{u"60|-"_s, u"72|LVN"_s}));
        QVERIFY(f.btnQuery->locate(u"tag"_s, 60));
        QVERIFY(f.qTags->isEmpty());
        QVERIFY(f.BitBtn1->isEnabled());
        QVERIFY(!f.BitBtn2->isEnabled());
        nombraOpcion(f.BitBtn1, u"  Ver d'Ana  "_s);
        QCOMPARE(guion.textos(), QStringList{u"Debe escribir el nombre de la opción"_s});
        guion.limpia();
        nombraOpcion(f.BitBtn1, u"Editar"_s);
        nombraOpcion(f.BitBtn1, u"Borrar"_s);
        QCOMPARE(
            filas(s, u"select lugar, titulo from lar_menubotondef where tag = 60 order by lugar"_s),
            (QStringList{u"1|Ver d'Ana"_s, u"2|Editar"_s, u"3|Borrar"_s}));
        QCOMPARE(f.qTags->recordCount(), 3);

        // Cancelling the name does nothing.
        alAparecer<TfCheckButton>([](TfCheckButton *d) {
            d->vValor->setText(u"Nada"_s);
            d->BitBtn2->click();
        });
        f.BitBtn1->click();
        QCOMPARE(f.qTags->recordCount(), 3);

        // Deleting a right, without a question: the later ones move one bit down and
        // what users hold isn't rewritten.
        guion.limpia();
        QVERIFY(f.qTags->locate(u"lugar"_s, 2));
        f.BitBtn2->click();
        QVERIFY(guion.cajas().isEmpty());
        QCOMPARE(filas(s, u"select lugar from lar_menubotondef where tag = 60 order by lugar"_s),
                 (QStringList{u"1"_s, u"3"_s}));
        QCOMPARE(
            filas(s, u"select acceso from lar_permisos where modulo = 60 and usuario = 'LUIS'"_s),
            QStringList{u"5"_s});
        QCOMPARE(DatosSeguridad(s).derechos(60), (QStringList{u"Ver d'Ana"_s, u"Borrar"_s}));

        // Renaming keeps the place.
        QVERIFY(f.qTags->locate(u"lugar"_s, 3));
        QString previo;
        nombraOpcion(f.BitBtn3, u"Quitar"_s, &previo);
        QCOMPARE(previo, u"Borrar"_s);
        QCOMPARE(
            filas(s, u"select lugar, titulo from lar_menubotondef where tag = 60 order by lugar"_s),
            (QStringList{u"1|Ver d'Ana"_s, u"3|Quitar"_s}));

        // Removing the module from the menu, after the question.
        guion.limpia();
        guion.responde({mb::IdYes});
        QVERIFY(f.btnQuery->locate(u"tag"_s, 60));
        f.bDelServ->click();
        QCOMPARE(guion.textos(), QStringList{u"¿Desea borrar el módulo de la lista?"_s});
        QCOMPARE(filas(s, u"select tag from lar_menubotones where clave = 5"_s),
                 QStringList{u"72"_s});
        QCOMPARE(f.btnQuery->recordCount(), 1);

        // A new menu under "Catálogos" skips the numbers the seed took.
        nuevo(f, false);
        const int clave = f.Edit1->text().toInt();
        QVERIFY(!QList<int>({2, 4, 5, 8}).contains(clave));
        f.Edit2->setText(u"Promociones"_s);
        f.bSave->click();
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(filas(s, u"select depende from lar_menusistema where titulo = 'Promociones'"_s),
                 QStringList{u"5"_s});
    }

    void teclaDelAdministrador()
    {
        // One company, so the login goes straight in.
        lartest::EntornoPrueba env;
        lartest::preparaExtension(env, {});
        lartest::usaPerfiles(env.entorno());
        RegistraModulosSeguridad();
        lartest::GuionMensajes guion;
        lartest::Arranque a;
        TfMain &m = a.m;
        QVERIFY(lartest::entraAlMain(m, u"SYSDBA"_s, u"x"_s));
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
