// Logins that a server checks: a wrong password in the connection dialog and in
// the authorisation dialog, through the local test server.

#include "ayudagui.h"

#include "core/acceso.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"

using namespace Qt::StringLiterals;
using namespace lar;
using lartest::alAparecer;

class TstAcceso : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;

private slots:
    void initTestCase()
    {
        m_env = lartest::entornoServidor({{u"MARTA"_s, u"marta1"_s, u'T', {}}},
                                         {{73, u"MARTA"_s, 1}});
        if (!m_env)
            QSKIP("The local Firebird server isn't running (scripts/fbserver)");
    }

    void contrasenaIncorrecta()
    {
        lartest::GuionMensajes guion;
        Sesion s;
        TfConecta f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        f.vUsuario->setText(u"marta"_s);
        f.vPass->setText(u"equivocada"_s);
        for (int intento = 0; intento < 3; ++intento) // no lock-out
            f.bOk->click();
        QCOMPARE(guion.cajas().size(), 3);
        QCOMPARE(guion.cajas()[0].texto, u"El nombre de usuario o contraseña no es válido"_s);
        QCOMPARE(guion.cajas()[0].titulo, u"Error de datos"_s);
        QCOMPARE(guion.cajas()[0].icono(), int(mb::IconStop));
        QVERIFY(f.isVisible());
        QCOMPARE(f.result(), int(QDialog::Rejected));
        QCOMPARE(f.vPass->text(), u"equivocada"_s);
        QVERIFY(!s.fbConfig().isConnected());

        guion.limpia();
        f.vPass->setText(u"marta1"_s);
        f.bOk->click();
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(f.result(), int(QDialog::Accepted));
        QVERIFY(s.fbDatabase().isConnected());
        QVERIFY(s.fbMetadatos().isConnected());
        QCOMPARE(f.EmpresaNombre, u"DEMO"_s);
        QVERIFY(f.EmpresaId > 0);
        // The password is stored nowhere.
        QFile usuario(m_env->entorno().xmlUsuario());
        QVERIFY(usuario.open(QIODevice::ReadOnly));
        QVERIFY(!usuario.readAll().contains("marta1"));
    }

    void servidorInalcanzableYAutorizacion()
    {
        Sesion s;
        m_env->conectaSesion(s, u"DEMO"_s, u"MARTA"_s, u"marta1"_s);
        {
            // Any other engine error: its code and text.
            lartest::GuionMensajes guion;
            fb::Database nada;
            nada.setDatabaseName(u"127.0.0.1/1:/no/existe.fdb"_s);
            nada.setParams(m_env->parametros());
            QVERIFY(!Conectar(s, nada));
            QCOMPARE(guion.cajas().size(), 1);
            QVERIFY(guion.cajas()[0].texto.startsWith(u"Error 3355"_s));
            QVERIFY(guion.cajas()[0].texto.contains(u'\r'));
            QCOMPARE(guion.cajas()[0].titulo, u"Error de datos"_s);
        }
        {
            // A failed login rolls back what fbUpdateTrans had pending.
            s.TransInicia();
            QVERIFY(s.fbUpdateTrans().isActive());
            lartest::GuionMensajes guion;
            int intentos = 0;
            bool focoEnUsuario = false;
            alAparecer<TfAcceso>([&](TfAcceso *f) {
                f->vUser->setText(u"MARTA"_s);
                f->vPass->setText(u"mala"_s);
                f->bOk->click();
                ++intentos;
                focoEnUsuario = QApplication::focusWidget() == f->vUser && f->isVisible();
                f->vPass->setText(u"marta1"_s);
                f->bOk->click();
            });
            QVERIFY(AutorizaUsuario(s, 73, 1, false));
            QCOMPARE(intentos, 1);
            QVERIFY(focoEnUsuario);
            QCOMPARE(guion.textos(),
                     QStringList{u"El nombre de usuario o contraseña no es válido"_s});
            QVERIFY(!s.fbUpdateTrans().isActive());
            QCOMPARE(UsuarioAutoriza(), u"MARTA"_s);
        }
    }
};

LAR_TEST_MAIN(TstAcceso)
#include "tst_core_acceso.moc"
