// Logins that a server checks: a wrong password in the connection dialog and in
// the authorisation dialog, through the local test server.

#include "ayudagui.h"

#include "core/acceso.h"
#include "core/conecta.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <memory>

using namespace lar;
using lartest::alAparecer;

class TstAcceso : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;

private slots:
    void initTestCase()
    {
        if (!lartest::serverAvailable())
            QSKIP("The local Firebird server isn't running (scripts/fbserver)");
        lartest::OpcionesPrueba op;
        op.servidor = true;
        op.usuarios = {{QStringLiteral("MARTA"), QStringLiteral("marta1"), u'T', {}}};
        m_env = std::make_unique<lartest::EntornoPrueba>(op);
        lartest::preparaExtension(*m_env, {{73, QStringLiteral("MARTA"), 1}});
        lartest::usaPerfiles(m_env->entorno());
    }

    void contrasenaIncorrecta()
    {
        lartest::GuionMensajes guion;
        Sesion s;
        TfConecta f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        f.vUsuario->setText(QStringLiteral("marta"));
        f.vPass->setText(QStringLiteral("equivocada"));
        for (int intento = 0; intento < 3; ++intento) // no lock-out
            f.bOk->click();
        QCOMPARE(guion.cajas().size(), 3);
        QCOMPARE(guion.cajas()[0].texto,
                 QStringLiteral("El nombre de usuario o contraseña no es válido"));
        QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Error de datos"));
        QCOMPARE(guion.cajas()[0].icono(), int(mb::IconStop));
        QVERIFY(f.isVisible());
        QCOMPARE(f.result(), int(QDialog::Rejected));
        QCOMPARE(f.vPass->text(), QStringLiteral("equivocada"));
        QVERIFY(!s.fbConfig().isConnected());

        guion.limpia();
        f.vPass->setText(QStringLiteral("marta1"));
        f.bOk->click();
        QCOMPARE(guion.textos(), QStringList());
        QCOMPARE(f.result(), int(QDialog::Accepted));
        QVERIFY(s.fbDatabase().isConnected());
        QVERIFY(s.fbMetadatos().isConnected());
        QCOMPARE(f.EmpresaNombre, QStringLiteral("DEMO"));
        QVERIFY(f.EmpresaId > 0);
        // The password is stored nowhere.
        QFile usuario(m_env->entorno().xmlUsuario());
        QVERIFY(usuario.open(QIODevice::ReadOnly));
        QVERIFY(!usuario.readAll().contains("marta1"));
    }

    void servidorInalcanzableYAutorizacion()
    {
        Sesion s;
        m_env->conectaSesion(
            s, QStringLiteral("DEMO"), QStringLiteral("MARTA"), QStringLiteral("marta1"));
        {
            // Any other engine error: its code and text.
            lartest::GuionMensajes guion;
            fb::Database nada;
            nada.setDatabaseName(QStringLiteral("127.0.0.1/1:/no/existe.fdb"));
            nada.setParams(m_env->parametros());
            QVERIFY(!Conectar(s, nada));
            QCOMPARE(guion.cajas().size(), 1);
            QVERIFY(guion.cajas()[0].texto.startsWith(QStringLiteral("Error 3355")));
            QVERIFY(guion.cajas()[0].texto.contains(u'\r'));
            QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Error de datos"));
        }
        {
            // A failed login rolls back what fbUpdateTrans had pending.
            s.TransInicia();
            QVERIFY(s.fbUpdateTrans().isActive());
            lartest::GuionMensajes guion;
            int intentos = 0;
            bool focoEnUsuario = false;
            alAparecer<TfAcceso>([&](TfAcceso *f) {
                f->vUser->setText(QStringLiteral("MARTA"));
                f->vPass->setText(QStringLiteral("mala"));
                f->bOk->click();
                ++intentos;
                focoEnUsuario = QApplication::focusWidget() == f->vUser && f->isVisible();
                f->vPass->setText(QStringLiteral("marta1"));
                f->bOk->click();
            });
            QVERIFY(AutorizaUsuario(s, 73, 1, false));
            QCOMPARE(intentos, 1);
            QVERIFY(focoEnUsuario);
            QCOMPARE(guion.textos(),
                     QStringList{QStringLiteral("El nombre de usuario o contraseña no es válido")});
            QVERIFY(!s.fbUpdateTrans().isActive());
            QCOMPARE(UsuarioAutoriza(), QStringLiteral("MARTA"));
        }
    }
};

LAR_TEST_MAIN(TstAcceso)
#include "tst_core_acceso.moc"
