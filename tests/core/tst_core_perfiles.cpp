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

using namespace Qt::StringLiterals;
using namespace lar;

namespace {

void escribe(const QString &ruta, const QByteArray &texto)
{
    QDir().mkpath(QFileInfo(ruta).absolutePath());
    QFile f(ruta);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(texto);
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

    // Profile folders of their own, with the common and the user's file when given.
    void preparaCarpetas(const QString &nombre,
                         const QByteArray &comun = {},
                         const QByteArray &usuario = {})
    {
        m_comun = lartest::tempPath(nombre + u"/comun"_s);
        m_local = lartest::tempPath(nombre + u"/local"_s);
        qputenv("LARVENOS_COMMON_APPDATA", m_comun.toUtf8());
        qputenv("LARVENOS_LOCAL_APPDATA", m_local.toUtf8());
        if (!comun.isEmpty())
            escribe(m_comun + u"/Microsip/ProgramData.xml"_s, comun);
        if (!usuario.isEmpty())
            escribe(m_local + u"/Microsip/ProgramData.xml"_s, usuario);
    }

    // The login dialog, shown on those folders.
    static std::unique_ptr<TfConecta> dialogo(Sesion &s)
    {
        auto f = std::make_unique<TfConecta>(s);
        f->show();
        return QTest::qWaitForWindowExposed(f.get()) ? std::move(f) : nullptr;
    }

private slots:
    void pathsDeLasConexiones()
    {
        QDomDocument doc;
        QVERIFY(doc.setContent(kComun));
        const QList<Conexion> lista = LeeConexionesXml(doc);
        QCOMPARE(lista.size(), 3); // SinDatos has no Directorio_de_datos
        QCOMPARE(lista[0].nombre, u"Local"_s);
        QCOMPARE(lista[0].path, u"/datos/msip/"_s);
        QCOMPARE(lista[1].path, u"caja1:C:\\Microsip datos\\"_s);
        QCOMPARE(lista[2].path, u"\\\\SRV\\datos\\"_s);
        // A document with another root or no Conexiones lists nothing.
        QVERIFY(doc.setContent(QByteArrayLiteral("<Otro><LocalMachine/></Otro>")));
        QVERIFY(LeeConexionesXml(doc).isEmpty());
    }

    void nodoDelUsuarioConAcentos()
    {
        QCOMPARE(NombreNodoUsuario(u"José Martín"_s), u"Jos_ Mart_n"_s);
        QCOMPARE(NombreNodoUsuario(u"Ángel"_s),
                 u"Ángel"_s); // upper case kept
        QDomDocument doc;
        QVERIFY(doc.setContent(usuarioXml(u"Jos_"_s, u"PEPE"_s, u"Local"_s)));
        const QDomElement barra = NodoBarraXml(doc, u"José"_s);
        QVERIFY(!barra.isNull());
        QCOMPARE(TextoNodo(barra, u"Usuario"_s), u"PEPE"_s);
        // Names are matched as written: another user has no node.
        QVERIFY(NodoBarraXml(doc, u"jose"_s).isNull());
    }

    void guardaConSangriaDeDos()
    {
        preparaCarpetas(u"guarda"_s);
        const QString ruta = m_local + u"/Microsip/ProgramData.xml"_s;
        escribe(
            ruta,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ProgramData><CurrentUser><ana><Software>"
            "<Microsip><Barra_Microsip><Usuario>VIEJO</Usuario></Barra_Microsip></Microsip>"
            "</Software></ana></CurrentUser><Otro>queda</Otro></ProgramData>\n");
        QDomDocument doc;
        CargaXml(doc, ruta);
        QDomElement barra = NodoBarraXml(doc, u"ana"_s);
        FijaNodo(barra, u"Usuario"_s, u"PEPE"_s);
        FijaNodo(barra, u"Conexi_n"_s, u"Local"_s); // added
        GuardaXml(doc, ruta);
        QFile guardado(ruta);
        QVERIFY(guardado.open(QIODevice::ReadOnly));
        const QString texto = QString::fromUtf8(guardado.readAll());
        QVERIFY(texto.contains(u"\n  <CurrentUser>\n    <ana>"_s));
        QVERIFY(texto.contains(u"<Usuario>PEPE</Usuario>"_s));
        QVERIFY(texto.contains(u"<Conexi_n>Local</Conexi_n>"_s));
        QVERIFY(texto.contains(u"<Otro>queda</Otro>"_s));
        QVERIFY(!texto.contains(u"VIEJO"_s));
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, CargaXml(doc, ruta + u".falta"_s));
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
        qputenv("USER", "ana");
        qunsetenv("USERNAME");
        preparaCarpetas(u"dialogo-"_s + ultima, kComun, usuarioXml(u"ana"_s, u"PEPE"_s, ultima));
        lartest::GuionMensajes guion;
        Sesion s;
        const auto f = dialogo(s);
        QVERIFY(f);
        QVERIFY(f->UsaXml);
        QCOMPARE(f->vConexiones->count(), 3);
        QCOMPARE(f->vConexiones->currentText(), esperada);
        QCOMPARE(f->vUsuario->text(), u"PEPE"_s);
        QVERIFY(guion.cajas().isEmpty());
        // With a user, the password has the focus; bOk waits for it.
        QCOMPARE(QApplication::focusWidget(), f->vPass);
        QVERIFY(!f->bOk->isEnabled());
        QTest::keyClicks(f->vPass, u"clave"_s);
        QVERIFY(f->bOk->isEnabled());
        f->vUsuario->setText(u"   "_s);
        QVERIFY(!f->bOk->isEnabled());
        f->vUsuario->setText(u"PEPE"_s);
        QVERIFY(f->bOk->isEnabled());
    }

    void enterSoloAvanza()
    {
        preparaCarpetas(u"enter"_s, kComun, usuarioXml(u"otro"_s, u"X"_s, u"Local"_s));
        lartest::GuionMensajes guion;
        Sesion s;
        const auto f = dialogo(s);
        QVERIFY(f);
        // No node for this user: nothing read, the user name gets the focus.
        QCOMPARE(f->vUsuario->text(), QString());
        QCOMPARE(QApplication::focusWidget(), f->vUsuario);
        QTest::keyClicks(f->vUsuario, u"pepe"_s);
        QTest::keyClick(f->vUsuario, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), f->vConexiones);
        QTest::keyClick(f->vConexiones, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), f->vPass);
        QTest::keyClick(f->vPass, Qt::Key_Return); // bOk disabled: the focus stays
        QCOMPARE(QApplication::focusWidget(), f->vPass);
        QTest::keyClicks(f->vPass, u"x"_s);
        QTest::keyClick(f->vPass, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), f->bOk);
        QVERIFY(f->isVisible()); // Enter never accepted by itself
        QVERIFY(guion.cajas().isEmpty());
    }

    void xmlIlegibleAvisaYSigue()
    {
        preparaCarpetas(u"roto"_s, "<ProgramData><roto>");
        lartest::GuionMensajes guion;
        Sesion s;
        const auto f = dialogo(s);
        QVERIFY(f);
        QCOMPARE(guion.cajas().size(), 1);
        QVERIFY(
            guion.cajas()[0].texto.startsWith(u"No fue posible cargar la configuración XML\r"_s));
        QCOMPARE(guion.cajas()[0].titulo, u"Aviso del sistema"_s);
        QCOMPARE(f->vConexiones->count(), 0);
        QTest::keyClicks(f->vUsuario, u"pepe"_s);
        QTest::keyClicks(f->vPass, u"x"_s);
        QVERIFY(!f->bOk->isEnabled());
    }

    void sinArchivoComunNoHayXml()
    {
        preparaCarpetas(u"sinxml"_s);
        lartest::GuionMensajes guion;
        Sesion s;
        const auto f = dialogo(s);
        QVERIFY(f);
        QVERIFY(!f->UsaXml);
        QVERIFY(guion.cajas().isEmpty());
#ifndef Q_OS_WIN
        QCOMPARE(f->vConexiones->count(), 0);
#endif
    }
};

LAR_TEST_MAIN(TstPerfiles)
#include "tst_core_perfiles.moc"
