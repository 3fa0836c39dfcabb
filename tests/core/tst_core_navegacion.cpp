// Module navigation in the main window: the dispatch by tag, embedded forms and
// their header, closing back to the previous form, function keys through the
// window, the pre-checks of the points modules, and the rights test that lets
// another user authorise.

#include "ayudagui.h"

#include "core/acceso.h"
#include "core/navegacion.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace lar;
using lartest::alAparecer;

namespace {

class ModuloPrueba : public TMForm
{
    Q_OBJECT
public:
    ModuloPrueba(const QString &titulo, const QStringList &filtros)
    {
        setWindowTitle(titulo);
        Filtros = filtros;
        FiltroIndice = 0;
        auto *uno = new QPushButton(u"Uno"_s, this);
        auto *dos = new QPushButton(u"Dos"_s, this);
        uno->move(0, 0);
        dos->move(0, 40);
        SetTag(uno, -5);
        SetTag(dos, -5);
        connect(uno, &QPushButton::clicked, this, [this] { ++clics; });
        connect(dos, &QPushButton::clicked, this, [this] { ++clics; });
        terminaDiseno();
    }
    void DoFiltroChange(QComboBox *) override { ++cambios; }
    int clics = 0;
    int cambios = 0;
};

QStringList elementos(const QComboBox *c)
{
    QStringList l;
    for (int i = 0; i < c->count(); ++i)
        l << c->itemText(i);
    return l;
}

} // namespace

class TstNavegacion : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;
    std::unique_ptr<TfMain> m_main;
    int m_modales = 0;
    int m_tagModal = 0;

    TfMain &m() { return *m_main; }

private slots:
    void initTestCase()
    {
        lartest::OpcionesPrueba op;
        op.usuarios = {{u"ROSA"_s, u"rosa"_s, u'T', {}}, {u"JUAN"_s, u"juan"_s, u'T', {}}};
        m_env = std::make_unique<lartest::EntornoPrueba>(op);
        lartest::preparaExtension(*m_env,
                                  {{73, u"ROSA"_s, 2}, // one of the two bits
                                   {72, u"JUAN"_s, 4}});

        auto registra = [](int tag, const QString &titulo, const QStringList &filtros) {
            RegistraModulo({tag,
                            tag == 76 ? u"ModuloA"_s : u"ModuloB"_s,
                            false,
                            {},
                            [=](TfMain &) { return new ModuloPrueba(titulo, filtros); },
                            {}});
        };
        registra(76, u"Compras por cliente"_s, {u"Todos"_s, u"Con compras"_s});
        registra(77,
                 u"Artículos más vendidos"_s,
                 {u"Por importe"_s, u"Por unidades"_s, u"Por puntos"_s});
        FilaModulo modal;
        modal.tag = 2;
        modal.clase = u"TfModSeguridad"_s;
        modal.modal = true;
        modal.creaDialogo = [this](TfMain &) {
            auto *d = new QDialog;
            QTimer::singleShot(0, d, [this, d] {
                ++m_modales;
                m_tagModal = Tag(d);
                d->accept();
            });
            return d;
        };
        RegistraModulo(modal);

        // A session opened as the login leaves it, without the dialogs.
        m_main = std::make_unique<TfMain>();
        m_env->conectaSesion(m().sesion(), u"DEMO"_s, u"JUAN"_s);
        m().sesion().Permisos.fill(0);
        m().sesion().Permisos[0] = 1;
        m().sesion().Permisos[76] = 2; // no "Consulta" bit: still opens
        m().sesion().Permisos[77] = 1;
        m().sesion().Permisos[2] = 1;
        m().resize(900, 600);
        m().fPrimeraActivacion = false;
        m().show();
        QVERIFY(QTest::qWaitForWindowExposed(&m()));
    }

    void cleanupTestCase()
    {
        m_main.reset();
        QuitaModulo(76);
        QuitaModulo(77);
        QuitaModulo(2);
    }

    void dosModulosYCierre()
    {
        lartest::GuionMensajes guion;
        m().accCompCte->trigger();
        QCOMPARE(guion.textos(), QStringList());
        auto *a = qobject_cast<ModuloPrueba *>(m().fFormaActual.data());
        QVERIFY(a);
        QCOMPARE(a->Acceso, 2u);
        QCOMPARE(a->parentWidget(), m().fPanelFondo);
        QCOMPARE(a->geometry(), m().fPanelFondo->rect());
        QCOMPARE(m().Modulo->text(), u"Compras por cliente"_s);
        QVERIFY(m().bClose->isVisible());
        QCOMPARE(elementos(m().vFiltro), a->Filtros);
        m().vFiltro->setCurrentIndex(1);
        QCOMPARE(a->cambios, 1);
        QCOMPARE(a->FiltroIndice, 1);

        m().accArtmas->trigger();
        auto *b = qobject_cast<ModuloPrueba *>(m().fFormaActual.data());
        QVERIFY(b);
        QCOMPARE(m().Modulo->text(), u"Artículos más vendidos"_s);
        QCOMPARE(elementos(m().vFiltro), b->Filtros);
        QCOMPARE(m().vFiltro->currentIndex(), 0);
        QCOMPARE(m().vFiltro->x(), m().Modulo->x() + m().Modulo->width() + 15);
        QCOMPARE(a->cambios, 1); // filling the box fires nothing

        // Opening a tag again brings its form back instead of creating another.
        m().accCompCte->trigger();
        QCOMPARE(m().fFormaActual.data(), a);
        QCOMPARE(elementos(m().vFiltro), a->Filtros);
        QCOMPARE(FormasAbiertasLista().nombres, (QStringList{u"ModuloA"_s, u"ModuloB"_s}));
        m().accArtmas->trigger();
        QCOMPARE(m().fFormaActual.data(), b);

        // Closing the top one restores the other's caption, filters and index.
        QPointer<ModuloPrueba> cerrada(b);
        QTest::mouseClick(m().bClose, Qt::LeftButton);
        QTRY_VERIFY(!cerrada);
        QTRY_COMPARE(m().fFormaActual.data(), a);
        QCOMPARE(m().Modulo->text(), u"Compras por cliente"_s);
        QCOMPARE(elementos(m().vFiltro), a->Filtros);
        QCOMPARE(m().vFiltro->currentIndex(), 1);
        QCOMPARE(FormasAbiertasLista().nombres, QStringList{u"ModuloA"_s});

        // The last one closed: empty header, no close button.
        QPointer<ModuloPrueba> ultima(a);
        ultima->close(); // a form closing itself takes the same road
        QTRY_VERIFY(!ultima);
        QTRY_COMPARE(m().Modulo->text(), QString());
        QVERIFY(m().fFormaActual.isNull());
        QVERIFY(!m().bClose->isVisible());
        QVERIFY(!m().vFiltro->isVisible());
        QVERIFY(FormasAbiertasLista().nombres.isEmpty());
        QVERIFY(guion.cajas().isEmpty());
    }

    void teclaDeFuncionPorLaVentana()
    {
        m().accCompCte->trigger();
        auto *a = qobject_cast<ModuloPrueba *>(m().fFormaActual.data());
        QVERIFY(a);
        // Keys reach the form on top wherever the focus is in the window.
        m().vFiltro->setFocus();
        QTest::keyClick(m().vFiltro, Qt::Key_F5);
        QCOMPARE(a->clics, 2);
        QTest::keyClick(m().vFiltro, Qt::Key_F6);
        QCOMPARE(a->clics, 2);
        QPointer<ModuloPrueba> p(a);
        a->close();
        QTRY_VERIFY(!p);
    }

    void sinDerechosNoAbre()
    {
        lartest::GuionMensajes guion;
        m().sesion().Permisos[77] = 0;
        m().accArtmas->trigger();
        QCOMPARE(guion.textos(), QStringList{u"No tiene permisos para acceder a esta ventana"_s});
        QVERIFY(m().fFormaActual.isNull());
        m().sesion().Permisos[77] = 1;
        // A tag without a screen opens nothing and says nothing.
        guion.limpia();
        m().AbreVentana(74, {});
        m().AbreVentana(0, {});
        QVERIFY(guion.cajas().isEmpty());
        QVERIFY(m().fFormaActual.isNull());
        // Its ribbon entry, though, tells the user instead of doing nothing.
        m().sesion().Permisos[74] = 1;
        auto *historial = m().findChild<QToolButton *>(u"bConsultaHistorial"_s);
        QVERIFY(historial);
        historial->click();
        QCOMPARE(guion.textos(),
                 QStringList{u"La pantalla \u201CHistorial puntos\u201D aún no está disponible en "
                             u"esta versión de Puntos Larvenos."_s});
        QCOMPARE(guion.cajas()[0].titulo, u"Aviso del sistema"_s);
        QCOMPARE(guion.cajas()[0].icono(), int(mb::IconInformation));
        QVERIFY(m().fFormaActual.isNull());
        m().sesion().Permisos[74] = 0;
    }

    void filaModal()
    {
        lartest::GuionMensajes guion;
        m().aSisPermisos->trigger();
        QTRY_COMPARE(m_modales, 1);
        QCOMPARE(m_tagModal, 2);
        QVERIFY(FormasAbiertasLista().nombres.isEmpty()); // modal modules aren't registered
    }

    void revisionesPrevias()
    {
        lartest::GuionMensajes guion;
        Sesion &s = m().sesion();
        // Registered so that the dispatch reaches the checks; they stop it first.
        for (int tag : {73, 75, 79})
            RegistraModulo({tag, u"Nada"_s, true, [](TfMain &) { return new QDialog; }, {}, {}});
        GuardaRegistro(s, u"Concepto Salida Puntos"_s, u"abc"_s);
        m().AbreVentana(73, {});
        GuardaRegistro(s, u"Concepto Salida Puntos"_s, u"999999"_s);
        m().AbreVentana(73, {}); // a concept without series
        m().AbreVentana(75, {});
        QCOMPARE(guion.textos(),
                 (QStringList{u"Indique un concepto de salida de inventarios en la "
                              u"configuración del sistema."_s,
                              u"Es necesario asignar una serie y consecutivo al "
                              u"concepto de salida de inventarios en Microsip."_s,
                              u"Es necesario realizar la configuración del sistema "
                              u"para poder asignar o quitar puntos"_s}));
        QCOMPARE(guion.cajas()[2].titulo, u"Realizar configuración"_s);
        guion.limpia();
        GuardaRegistro(s, u"Folio Puntos"_s, u"1"_s);
        GuardaRegistro(s, u"Lista por clientes"_s, u"1"_s);
        GuardaRegistro(s, u"Lista por empleados"_s, QString());
        m().AbreVentana(79, {});
        QCOMPARE(guion.textos(),
                 QStringList{u"No ha configurado el listado a utilizar, Revisar configuración."_s});
        for (int tag : {73, 75, 79})
            QuitaModulo(tag);
    }

    void permisoAutorizadoPorOtro()
    {
        Sesion &s = m().sesion();
        s.Permisos[73] = 1; // holds "Consulta", lacks "Nuevo"
        QVERIFY(TienePermiso(s, 73, 1, u"consultar."_s));
        {
            // Declined: no second login.
            lartest::GuionMensajes guion;
            guion.responde({mb::IdNo});
            QVERIFY(!TienePermiso(s, 73, 1 | 2, u"hacer un nuevo canje de puntos."_s));
            QCOMPARE(guion.cajas().size(), 1);
            const CajaMensaje &c = guion.cajas()[0];
            QCOMPARE(c.texto,
                     u"No tiene permisos para hacer un nuevo canje de "
                     u"puntos.\r¿Desea que otro usuario lo autorice?"_s);
            QCOMPARE(c.titulo, u"Permisos"_s);
            QCOMPARE(c.botones(), int(mb::YesNo));
            QCOMPARE(c.predeterminado(), 2);
        }
        {
            // ROSA holds only bit 2 of the mask 1|2: enough to authorise.
            lartest::GuionMensajes guion;
            guion.responde({mb::IdYes});
            UsuarioAutoriza().clear();
            alAparecer<TfAcceso>([](TfAcceso *f) {
                QTest::keyClicks(f->vUser, u"rosa"_s);
                f->vPass->setText(u"rosa"_s);
                f->bOk->click();
            });
            QVERIFY(TienePermiso(s, 73, 1 | 2, u"hacer un nuevo canje de puntos."_s));
            QCOMPARE(UsuarioAutoriza(), u"ROSA"_s);
        }
        {
            // JUAN's bit is in another module; ROSA has no row for module 10.
            const QList<QPair<QString, int>> casos{{u"JUAN"_s, 73}, {u"ROSA"_s, 10}};
            for (const auto &[quien, modulo] : casos) {
                lartest::GuionMensajes guion;
                alAparecer<TfAcceso>([quien](TfAcceso *f) {
                    f->vUser->setText(quien);
                    f->bOk->click();
                });
                QVERIFY(!AutorizaUsuario(s, modulo, 4 | 2 | 1, false));
                QCOMPARE(guion.textos().value(0), u"El usuario seleccionado no tiene acceso"_s);
            }
        }
        {
            // Only the administrator: the name is given and fixed; he passes every test.
            lartest::GuionMensajes guion;
            bool fijo = false;
            alAparecer<TfAcceso>([&](TfAcceso *f) {
                fijo = f->vUser->isReadOnly() && f->vUser->text() == u"SYSDBA";
                f->bOk->click();
            });
            QVERIFY(AutorizaUsuario(s, 73, 1 << 19, true));
            QVERIFY(fijo);
            QVERIFY(guion.cajas().isEmpty());
        }
        {
            lartest::GuionMensajes guion;
            alAparecer<TfAcceso>([](TfAcceso *f) { f->bCancel->click(); });
            QVERIFY(!AutorizaUsuario(s, 73, 1, false));
            QVERIFY(guion.cajas().isEmpty());
        }
    }
};

LAR_TEST_MAIN(TstNavegacion)
#include "tst_core_navegacion.moc"
