// The whole start of a session through the main window, offscreen, against the
// stand-in Microsip: connection dialog, company choice, schema check, rights and
// the ribbon they enable.

#include "ayudagui.h"

#include "core/acceso.h"
#include "core/carpetas.h"
#include "core/ids.h"
#include "core/presentacion.h"
#include "db/dbscript.h"
#include "support/consultas.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"

#include <QAction>
#include <QComboBox>
#include <QListWidget>
#include <QScreen>

using namespace Qt::StringLiterals;
using namespace lar;
using lartest::alAparecer;
using lartest::Arranque;
using lartest::entra;

namespace {

// Enter typed into whatever has the focus, as the user presses it.
void enter(QWidget *ventana)
{
    QWidget *w = ventana->focusWidget();
    QVERIFY2(w, qPrintable(ventana->objectName()));
    QTest::keyClick(w, Qt::Key_Return);
}

// A dialog left open by a failed check inside its own modal loop would hang the
// suite: it closes when the check's scope ends with the case failed.
struct CierraSiFalla
{
    QDialog *dialogo;
    ~CierraSiFalla()
    {
        if (QTest::currentTestFailed())
            dialogo->reject();
    }
};

} // namespace

class TstInicio : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_una;   // DEMO, extension, rights of PEPE
    std::unique_ptr<lartest::EntornoPrueba> m_dos;   // DEMO and OTRA
    std::unique_ptr<lartest::EntornoPrueba> m_vieja; // no extension

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.usuarios = {{u"PEPE"_s, u"pepe"_s, u'T', {}}};
        m_una = std::make_unique<lartest::EntornoPrueba>(op);
        lartest::preparaExtension(
            *m_una,
            {{73, u"PEPE"_s, 3}, {10, u"PEPE"_s, 1}, {99, u"PEPE"_s, 1}}); // out of range: ignored

        lartest::OpcionesPrueba dos;
        dos.empresas = {u"DEMO"_s, u"OTRA"_s};
        dos.usuarios = {{u"LUIS"_s, u"luis"_s, u'L', {}}, {u"ANA"_s, u"ana"_s, u'L', {u"OTRA"_s}}};
        m_dos = std::make_unique<lartest::EntornoPrueba>(dos);
        lartest::preparaExtension(*m_dos, {}, u"DEMO"_s);
        lartest::preparaExtension(*m_dos, {{72, u"ANA"_s, 1}}, u"OTRA"_s);

        m_vieja = std::make_unique<lartest::EntornoPrueba>(op);
    }

    void administrador()
    {
        lartest::usaPerfiles(m_una->entorno());
        lartest::GuionMensajes guion;
        Arranque a;
        TfMain &m = a.m;
        int reinicios = 0;
        TfMain::RutinaReinicio() = [&](TfMain &) {
            ++reinicios;
        };
        m.tmrReinicio->setInterval(20);
        QCOMPARE(m.windowTitle(), u"Puntos Larvenos v"_s + VersionArchivo());
        QVERIFY(m.bDisenoSeguridad->isHidden());
        QVERIFY(m.dxRibbon->colapsado());
        QPoint centroSplash;
        alAparecer<TfPresentacion>(
            [&](TfPresentacion *p) { centroSplash = p->frameGeometry().center(); });
        m.move(0, 0);
        alAparecer<TfConecta>([](TfConecta *f) {
            QCOMPARE(f->vUsuario->text(), u"SYSDBA"_s); // last user of the profile
            entra(f, u"SYSDBA"_s);
        });
        m.show();
        QTRY_COMPARE_WITH_TIMEOUT(m.windowTitle(), u"Empresa de demostración - SYSDBA"_s, 20000);
        QVERIFY(guion.cajas().isEmpty());
        // The splash in the middle of the screen, wherever the window was.
        const QPoint centro = m.screen()->availableGeometry().center();
        QVERIFY2((centroSplash - centro).manhattanLength() <= 2,
                 qPrintable(u"%1,%2"_s.arg(centroSplash.x()).arg(centroSplash.y())));
        QCOMPARE(m.dxRibbon->tabActiva(), m.tabReportes);
        QCOMPARE(m.sesion().UsuarioActual, u"SYSDBA"_s);
        QCOMPARE(m.sesion().Permisos[0], 1u);
        for (int i = 1; i < 80; ++i)
            QCOMPARE(m.sesion().Permisos[i], 1048575u);
        QVERIFY(m.bActualizaDB->isEnabled());
        const QList<RibbonBoton *> botones = m.findChildren<RibbonBoton *>();
        for (RibbonBoton *b : botones)
            QVERIFY2(b->isEnabled(), qPrintable(b->objectName()));
        QCOMPARE(m.fPanelFondo->texto, u"Empresa de demostración"_s);
        // The last company is remembered in Microsip's registry of the configuration.
        fb::Database &config = m.sesion().fbConfig();
        QCOMPARE(
            lartest::filas(
                config,
                u"select valor from registry where nombre='Empresa' and padre_id="
                u"(select elemento_id from registry where nombre='Microsip' and padre_id="
                u"(select elemento_id from registry where nombre='SYSDBA' and padre_id=0))"_s),
            lartest::filas(config, u"select empresa_id from empresas where nombre_corto='DEMO'"_s));
        QTRY_VERIFY(reinicios >= 1);
        TfMain::RutinaReinicio() = {};
        QVERIFY(!a.terminada);
    }

    void otroUsuarioConBlancos()
    {
        lartest::usaPerfiles(m_una->entorno());
        lartest::GuionMensajes guion;
        Arranque a;
        TfMain &m = a.m;
        alAparecer<TfConecta>([](TfConecta *f) { entra(f, u" pe pe "_s); });
        m.show();
        QTRY_COMPARE_WITH_TIMEOUT(m.windowTitle(), u"Empresa de demostración - PEPE"_s, 20000);
        QVERIFY(guion.cajas().isEmpty());
        Sesion &s = m.sesion();
        QCOMPARE(s.UsuarioActual, u"PEPE"_s);
        QCOMPARE(s.Permisos[0], 1u);
        QCOMPARE(s.Permisos[73], 3u);
        QCOMPARE(s.Permisos[10], 1u);
        QCOMPARE(s.Permisos[72], 0u);
        QVERIFY(!m.bActualizaDB->isEnabled());
        // Each entry follows the rights of its action's tag.
        QCOMPARE(lartest::entradasErradas(m, {0, 73, 10}), QStringList());
        QVERIFY(m.accVentasPuntos->isEnabled());
        QVERIFY(!m.accArticulos->isEnabled());
        QVERIFY(m.acc_AcercaDe->isEnabled());
        // The name as typed, without its blanks, is what the profile remembers.
        QDomDocument doc;
        CargaXml(doc, m_una->entorno().xmlUsuario());
        QCOMPARE(TextoNodo(NodoBarraXml(doc, UsuarioWindows()), u"Usuario"_s), u"pepe"_s);
    }

    void esquemaViejo_data()
    {
        QTest::addColumn<bool>("administrador");
        QTest::newRow("SYSDBA") << true;
        QTest::newRow("otro usuario") << false;
    }

    void esquemaViejo()
    {
        QFETCH(bool, administrador);
        lartest::usaPerfiles(m_vieja->entorno());
        lartest::GuionMensajes guion;
        int dialogos = 0;
        TfMain::FabricaActualizaDB() = [](TfMain &m) -> QDialog * {
            return new TfDBScript(m.sesion(), &m);
        };
        // The upgrade dialog is closed without running: the start goes on.
        QPointer<QTimer> espia = alAparecer<TfDBScript>([&](TfDBScript *d) {
            ++dialogos;
            d->reject();
        });
        Arranque a;
        TfMain &m = a.m;
        const QString titulo = m.windowTitle();
        bool retenido = false;
        alAparecer<TfConecta>([&](TfConecta *f) {
            entra(f, administrador ? u"SYSDBA"_s : u"PEPE"_s, u"pepe"_s);
            if (administrador)
                return;
            // Held in the dialog, asked for the administrator.
            retenido
                = f->isVisible() && f->vUsuario->text() == u"SYSDBA" && f->vPass->text().isEmpty();
            f->bCancel->click();
        });
        m.show();
        if (administrador) {
            QTRY_COMPARE_WITH_TIMEOUT(
                m.windowTitle(), u"Empresa de demostración - SYSDBA"_s, 20000);
            QCOMPARE(guion.textos(),
                     QStringList{u"Es necesario actualizar la base de datos para continuar"_s});
            QCOMPARE(dialogos, 1);
            QVERIFY(!a.terminada);
        } else {
            QTRY_VERIFY_WITH_TIMEOUT(a.terminada, 20000);
            QVERIFY(retenido);
            QCOMPARE(guion.textos(),
                     QStringList{u"Es necesario actualizar la base de datos, para "
                                 u"hacerlo debe entrar con el usuario SYSDBA"_s});
            QCOMPARE(guion.cajas()[0].titulo, u"Aviso del sistema"_s);
            QCOMPARE(dialogos, 0);
            QCOMPARE(m.windowTitle(), titulo);
        }
        TfMain::FabricaActualizaDB() = {};
        delete espia.data();
    }

    void eligeEmpresaYLaRecuerda()
    {
        lartest::usaPerfiles(m_dos->entorno());
        lartest::GuionMensajes guion;
        for (int vuelta = 0; vuelta < 2; ++vuelta) {
            Arranque a;
            QString preseleccion;
            alAparecer<TfConecta>([](TfConecta *f) { entra(f, u"SYSDBA"_s); });
            alAparecer<TfEmpresas>([&](TfEmpresas *e) {
                preseleccion
                    = e->vEmpresas->currentItem() ? e->vEmpresas->currentItem()->text() : QString();
                QCOMPARE(e->vEmpresas->count(), 2);
                e->vEmpresas->setCurrentItem(
                    e->vEmpresas->findItems(u"OTRA"_s, Qt::MatchExactly).value(0));
                e->bOk->click();
            });
            a.m.show();
            QTRY_VERIFY_WITH_TIMEOUT(a.m.sesion().UsuarioActual == u"SYSDBA"
                                         && !a.m.fPrimeraActivacion
                                         && a.m.windowTitle().endsWith(u" - SYSDBA"_s),
                                     20000);
            QVERIFY(a.m.sesion().fbDatabase().databaseName().endsWith(u"OTRA.fdb"_s));
            // The first time the first row; then the company remembered.
            QCOMPARE(preseleccion, vuelta == 0 ? u"DEMO"_s : u"OTRA"_s);
        }
        QVERIFY(guion.cajas().isEmpty());
    }

    // The whole login without a mouse: Enter moves from field to field and never
    // accepts from one; on the focused "Aceptar" it presses it. The focused button
    // is drawn otherwise than the unfocused one, and passwords show as '*'. The
    // same on the company choice and on the authorisation dialog.
    void soloConTeclado()
    {
        lartest::usaPerfiles(m_dos->entorno());
        lartest::GuionMensajes guion;
        Arranque a;
        QStringList pasos;
        alAparecer<TfConecta>([&](TfConecta *f) {
            CierraSiFalla cierra{f};
            QTRY_VERIFY(f->isActiveWindow());
            f->vUsuario->clear();
            f->vUsuario->setFocus();
            QTest::keyClicks(f->vUsuario, u"sysdba"_s);
            enter(f);
            QCOMPARE(f->focusWidget(), f->vConexiones);
            enter(f);
            QCOMPARE(f->focusWidget(), f->vPass);
            QTest::keyClicks(f->vPass, u"abc"_s);
            QCOMPARE(f->vPass->displayText(), u"***"_s);
            const QImage sinFoco = f->bOk->grab().toImage();
            enter(f);
            QCOMPARE(f->focusWidget(), f->bOk);
            QVERIFY(f->isVisible()); // Enter in the password only moved on
            QVERIFY(f->bOk->grab().toImage() != sinFoco);
            pasos << u"conecta"_s;
            alAparecer<TfEmpresas>([&](TfEmpresas *e) {
                CierraSiFalla cierra{e};
                QTRY_VERIFY(e->isActiveWindow());
                QCOMPARE(e->focusWidget(), e->vEmpresas);
                QTest::keyClick(e->vEmpresas, Qt::Key_Down);
                const QImage sinFoco = e->bOk->grab().toImage();
                enter(e);
                QCOMPARE(e->focusWidget(), e->bOk);
                QVERIFY(e->isVisible());
                QVERIFY(e->bOk->grab().toImage() != sinFoco);
                pasos << e->vEmpresas->currentItem()->text();
                QTest::keyClick(e->bOk, Qt::Key_Return);
            });
            QTest::keyClick(f->bOk, Qt::Key_Return);
        });
        a.m.show();
        QTRY_COMPARE_WITH_TIMEOUT(a.m.windowTitle(), u"Empresa de demostración - SYSDBA"_s, 20000);
        QCOMPARE(pasos, QStringList({u"conecta"_s, u"OTRA"_s}));
        QVERIFY(a.m.sesion().fbDatabase().databaseName().endsWith(u"OTRA.fdb"_s));

        alAparecer<TfAcceso>([&](TfAcceso *f) {
            CierraSiFalla cierra{f};
            QTRY_VERIFY(f->isActiveWindow());
            QCOMPARE(f->focusWidget(), f->vUser);
            QTest::keyClicks(f->vUser, u"sysdba"_s);
            QCOMPARE(f->vUser->text(), u"SYSDBA"_s);
            enter(f);
            QCOMPARE(f->focusWidget(), f->vPass);
            QTest::keyClicks(f->vPass, u"clave"_s);
            QCOMPARE(f->vPass->displayText(), u"*****"_s);
            const QImage sinFoco = f->bOk->grab().toImage();
            enter(f);
            QCOMPARE(f->focusWidget(), f->bOk);
            QVERIFY(f->isVisible());
            QVERIFY(f->bOk->grab().toImage() != sinFoco);
            QTest::keyClick(f->bOk, Qt::Key_Return);
        });
        QVERIFY(AutorizaUsuario(a.m.sesion(), 73, 1, false));
        QCOMPARE(UsuarioAutoriza(), u"SYSDBA"_s);
        QVERIFY(guion.cajas().isEmpty());

        // "&Salir" is an entry of the window, enabled for everyone, and closes it.
        auto *salir = a.m.findChild<RibbonBoton *>(u"bSalir"_s);
        QVERIFY(salir);
        QVERIFY(salir->isVisible() && salir->isEnabled());
        QTest::keyClick(salir, Qt::Key_Space);
        QTRY_VERIFY(!a.m.isVisible());
        QVERIFY(!a.terminada);
    }

    void usuarioLimitado()
    {
        lartest::usaPerfiles(m_dos->entorno());
        lartest::GuionMensajes guion;
        // ANA sees only OTRA: no company dialog at all.
        {
            Arranque a;
            bool vioEmpresas = false;
            QPointer<QTimer> espia = alAparecer<TfEmpresas>([&](TfEmpresas *e) {
                vioEmpresas = true;
                e->reject();
            });
            QVERIFY(lartest::entraAlMain(a.m, u"ana"_s, u"x"_s));
            QVERIFY(a.m.sesion().fbDatabase().databaseName().endsWith(u"OTRA.fdb"_s));
            QCOMPARE(a.m.sesion().Permisos[72], 1u);
            QVERIFY(!vioEmpresas);
            delete espia.data();
        }
        // LUIS has no company: an empty list, only Cancel, and back to the login.
        {
            Arranque a;
            int vacio = -1;
            bool okHabilitado = true;
            bool conectaSigue = false;
            alAparecer<TfConecta>([&](TfConecta *f) {
                alAparecer<TfEmpresas>([&](TfEmpresas *e) {
                    vacio = e->vEmpresas->count();
                    okHabilitado = e->bOk->isEnabled();
                    e->Button2->click();
                });
                entra(f, u"LUIS"_s);
                conectaSigue = f->isVisible();
                f->bCancel->click();
            });
            a.m.show();
            QTRY_VERIFY_WITH_TIMEOUT(a.terminada, 20000);
            QCOMPARE(vacio, 0);
            QVERIFY(!okHabilitado);
            QVERIFY(conectaSigue);
            QVERIFY(a.m.sesion().fbConfig().isConnected()); // left connected
        }
        QVERIFY(guion.cajas().isEmpty());
    }
};

LAR_TEST_MAIN(TstInicio)
#include "tst_core_inicio.moc"
