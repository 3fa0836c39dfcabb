// Microsip's connection profiles in its XML files, and what the login dialog
// makes of them before any database is touched.

#include "core/conecta.h"
#include "core/conexiones.h"
#include "core/sesion.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace lar;

namespace {

void escribe(const QString &ruta, const QByteArray &texto)
{
    QDir().mkpath(QFileInfo(ruta).absolutePath());
    QFile f(ruta);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(texto);
}

QByteArray lee(const QString &ruta)
{
    QFile f(ruta);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

const QByteArray kComun = R"(<?xml version="1.0" encoding="UTF-8"?>
<ProgramData>
  <LocalMachine>
    <Software>
      <Microsip>
        <Conexiones>
          <Local>
            <Nombre_del_servidor></Nombre_del_servidor>
            <Directorio_de_datos>/datos/msip/</Directorio_de_datos>
          </Local>
          <Servidor>
            <Nombre_del_servidor>caja1</Nombre_del_servidor>
            <Directorio_de_datos>C:\Microsip datos\</Directorio_de_datos>
            <Protocolo>0</Protocolo>
          </Servidor>
          <Tuberias>
            <Nombre_del_servidor>SRV</Nombre_del_servidor>
            <Directorio_de_datos>datos\</Directorio_de_datos>
            <Protocolo>1</Protocolo>
          </Tuberias>
          <SinDatos>
            <Nombre_del_servidor>x</Nombre_del_servidor>
          </SinDatos>
        </Conexiones>
      </Microsip>
    </Software>
  </LocalMachine>
</ProgramData>
)";

QByteArray usuarioXml(const QString &nodo, const QString &usuario, const QString &conexion)
{
    return QStringLiteral(R"(<?xml version="1.0" encoding="UTF-8"?>
<ProgramData>
  <CurrentUser>
    <%1>
      <Software>
        <Microsip>
          <Barra_Microsip>
            <Usuario>%2</Usuario>
            <Conexi_n>%3</Conexi_n>
          </Barra_Microsip>
        </Microsip>
      </Software>
    </%1>
  </CurrentUser>
</ProgramData>
)")
        .arg(nodo, usuario, conexion)
        .toUtf8();
}

} // namespace

class TstPerfiles : public QObject
{
    Q_OBJECT

    QString m_comun, m_local;

    void preparaCarpetas(const QString &nombre)
    {
        m_comun = lartest::tempPath(nombre + QStringLiteral("/comun"));
        m_local = lartest::tempPath(nombre + QStringLiteral("/local"));
        qputenv("LARVENOS_COMMON_APPDATA", m_comun.toUtf8());
        qputenv("LARVENOS_LOCAL_APPDATA", m_local.toUtf8());
    }

private slots:
    void pathsDeLasConexiones()
    {
        QDomDocument doc;
        QVERIFY(doc.setContent(kComun));
        const QList<Conexion> lista = LeeConexionesXml(doc);
        QCOMPARE(lista.size(), 3); // SinDatos has no Directorio_de_datos
        QCOMPARE(lista[0].nombre, QStringLiteral("Local"));
        QCOMPARE(lista[0].path, QStringLiteral("/datos/msip/"));
        QCOMPARE(lista[1].path, QStringLiteral("caja1:C:\\Microsip datos\\"));
        QCOMPARE(lista[2].path, QStringLiteral("\\\\SRV\\datos\\"));
        // A document with another root or no Conexiones lists nothing.
        QVERIFY(doc.setContent(QByteArrayLiteral("<Otro><LocalMachine/></Otro>")));
        QVERIFY(LeeConexionesXml(doc).isEmpty());
    }

    void nodoDelUsuarioConAcentos()
    {
        QCOMPARE(NombreNodoUsuario(QStringLiteral("José Martín")), QStringLiteral("Jos_ Mart_n"));
        QCOMPARE(NombreNodoUsuario(QStringLiteral("Ángel")),
                 QStringLiteral("Ángel")); // upper case kept
        QDomDocument doc;
        QVERIFY(doc.setContent(
            usuarioXml(QStringLiteral("Jos_"), QStringLiteral("PEPE"), QStringLiteral("Local"))));
        const QDomElement barra = NodoBarraXml(doc, QStringLiteral("José"));
        QVERIFY(!barra.isNull());
        QCOMPARE(TextoNodo(barra, QStringLiteral("Usuario")), QStringLiteral("PEPE"));
        // Names are matched as written: another user has no node.
        QVERIFY(NodoBarraXml(doc, QStringLiteral("jose")).isNull());
    }

    void guardaConSangriaDeDos()
    {
        preparaCarpetas(QStringLiteral("guarda"));
        const QString ruta = m_local + QStringLiteral("/Microsip/ProgramData.xml");
        escribe(
            ruta,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ProgramData><CurrentUser><ana><Software>"
            "<Microsip><Barra_Microsip><Usuario>VIEJO</Usuario></Barra_Microsip></Microsip>"
            "</Software></ana></CurrentUser><Otro>queda</Otro></ProgramData>\n");
        QDomDocument doc;
        CargaXml(doc, ruta);
        QDomElement barra = NodoBarraXml(doc, QStringLiteral("ana"));
        FijaNodo(barra, QStringLiteral("Usuario"), QStringLiteral("PEPE"));
        FijaNodo(barra, QStringLiteral("Conexi_n"), QStringLiteral("Local")); // added
        GuardaXml(doc, ruta);
        const QString texto = QString::fromUtf8(lee(ruta));
        QVERIFY(texto.contains(QStringLiteral("\n  <CurrentUser>\n    <ana>")));
        QVERIFY(texto.contains(QStringLiteral("<Usuario>PEPE</Usuario>")));
        QVERIFY(texto.contains(QStringLiteral("<Conexi_n>Local</Conexi_n>")));
        QVERIFY(texto.contains(QStringLiteral("<Otro>queda</Otro>")));
        QVERIFY(!texto.contains(QStringLiteral("VIEJO")));
        QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                                 CargaXml(doc, ruta + QStringLiteral(".falta")));
    }

    void dialogoLeeLosPerfiles_data()
    {
        QTest::addColumn<QString>("ultima");
        QTest::addColumn<QString>("esperada");
        QTest::newRow("la última") << "Servidor"
                                   << "Servidor";
        QTest::newRow("ya no existe") << "Borrada"
                                      << "Local";
    }

    void dialogoLeeLosPerfiles()
    {
        QFETCH(QString, ultima);
        QFETCH(QString, esperada);
        preparaCarpetas(QStringLiteral("dialogo-") + ultima);
        qputenv("USER", "ana");
        qunsetenv("USERNAME");
        escribe(m_comun + QStringLiteral("/Microsip/ProgramData.xml"), kComun);
        escribe(m_local + QStringLiteral("/Microsip/ProgramData.xml"),
                usuarioXml(QStringLiteral("ana"), QStringLiteral("PEPE"), ultima));
        lartest::GuionMensajes guion;
        Sesion s;
        TfConecta f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        QVERIFY(f.UsaXml);
        QCOMPARE(f.vConexiones->count(), 3);
        QCOMPARE(f.vConexiones->currentText(), esperada);
        QCOMPARE(f.vUsuario->text(), QStringLiteral("PEPE"));
        QCOMPARE(f.windowTitle(), QStringLiteral("Larvenos Punto de Venta"));
        QVERIFY(guion.cajas().isEmpty());
        // With a user, the password has the focus; bOk waits for it.
        QCOMPARE(QApplication::focusWidget(), f.vPass);
        QVERIFY(!f.bOk->isEnabled());
        QTest::keyClicks(f.vPass, QStringLiteral("clave"));
        QVERIFY(f.bOk->isEnabled());
        f.vUsuario->setText(QStringLiteral("   "));
        QVERIFY(!f.bOk->isEnabled());
        f.vUsuario->setText(QStringLiteral("PEPE"));
        QVERIFY(f.bOk->isEnabled());
    }

    void enterSoloAvanza()
    {
        preparaCarpetas(QStringLiteral("enter"));
        escribe(m_comun + QStringLiteral("/Microsip/ProgramData.xml"), kComun);
        escribe(m_local + QStringLiteral("/Microsip/ProgramData.xml"),
                usuarioXml(QStringLiteral("otro"), QStringLiteral("X"), QStringLiteral("Local")));
        lartest::GuionMensajes guion;
        Sesion s;
        TfConecta f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        // No node for this user: nothing read, the user name gets the focus.
        QCOMPARE(f.vUsuario->text(), QString());
        QCOMPARE(QApplication::focusWidget(), f.vUsuario);
        QTest::keyClicks(f.vUsuario, QStringLiteral("pepe"));
        QTest::keyClick(f.vUsuario, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), f.vConexiones);
        QTest::keyClick(f.vConexiones, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), f.vPass);
        QTest::keyClick(f.vPass, Qt::Key_Return); // bOk disabled: the focus stays
        QCOMPARE(QApplication::focusWidget(), f.vPass);
        QTest::keyClicks(f.vPass, QStringLiteral("x"));
        QTest::keyClick(f.vPass, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), f.bOk);
        QVERIFY(f.isVisible()); // Enter never accepted by itself
        QVERIFY(guion.cajas().isEmpty());
    }

    void xmlIlegibleAvisaYSigue()
    {
        preparaCarpetas(QStringLiteral("roto"));
        escribe(m_comun + QStringLiteral("/Microsip/ProgramData.xml"), "<ProgramData><roto>");
        lartest::GuionMensajes guion;
        Sesion s;
        TfConecta f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        QCOMPARE(guion.cajas().size(), 1);
        QVERIFY(guion.cajas()[0].texto.startsWith(
            QStringLiteral("No fue posible cargar la configuración XML\r")));
        QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Aviso del sistema"));
        QCOMPARE(f.vConexiones->count(), 0);
        QTest::keyClicks(f.vUsuario, QStringLiteral("pepe"));
        QTest::keyClicks(f.vPass, QStringLiteral("x"));
        QVERIFY(!f.bOk->isEnabled());
    }

    void sinArchivoComunNoHayXml()
    {
        preparaCarpetas(QStringLiteral("sinxml"));
        lartest::GuionMensajes guion;
        Sesion s;
        TfConecta f(s);
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        QVERIFY(!f.UsaXml);
        QVERIFY(guion.cajas().isEmpty());
#ifndef Q_OS_WIN
        QCOMPARE(f.vConexiones->count(), 0);
#endif
    }
};

LAR_TEST_MAIN(TstPerfiles)
#include "tst_core_perfiles.moc"
