// Points by activity through the real form, offscreen, message boxes scripted: the
// employee from either list, the non-stocked activity lines priced from PUNTOS,
// totals that add, the save and its voucher, and the quirks of the commands after it.

#include "capturaprueba.h"

#include "points/asignarpa.h"
#include "points/asignarpa_forma.h"

#include "catalog/articulos_lista.h"
#include "shared/flista.h"
#include "support/accesibilidad.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"

#include <QFileInfo>
#include <QLabel>
#include <QToolButton>

using namespace lar;
using lartest::escribe;
using lartest::Impresion;
using lartest::Tienda;
using namespace Qt::StringLiterals;

class TestActividad : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Tienda> t;
    QString m_casa;
    int actividad = 0, sinPuntos = 0;
    QString claveActividad, claveSinPuntos;

    void lista(bool porClientes)
    {
        GuardaRegistro(t->s, u"Lista por clientes"_s, porClientes ? u"S"_s : u"N"_s);
        GuardaRegistro(t->s, u"Lista por empleados"_s, porClientes ? u"N"_s : u"S"_s);
    }
    std::unique_ptr<TfAsignar_PA> abre()
    {
        auto f = std::make_unique<TfAsignar_PA>(t->s);
        lartest::muestra(*f);
        return f;
    }
    // Picks the row of the list whose name holds `nombre`, through the real picker.
    void eligeDeLista(TfAsignar_PA &f, const QString &nombre)
    {
        QTimer::singleShot(0, [nombre] {
            if (auto *l = qobject_cast<TFLista *>(QApplication::activeModalWidget())) {
                l->Busca->setText(nombre);
                l->Aceptar->click();
            }
        });
        f.bCliente->click();
        f.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&f));
    }
    int filas(const QString &condicion)
    {
        return t->valor(u"select count(*) from lar_puntos where "_s + condicion).toInt();
    }

private slots:
    void initTestCase()
    {
        t = std::make_unique<Tienda>(true);
        t->s.Permisos[79] = 15;
        // Activities: the service article with PUNTOS, and another one without.
        actividad = t->boleto;
        claveActividad = t->claveBoleto;
        t->ejecuta(u"update libres_articulos set puntos=25 where articulo_id=%1"_s.arg(actividad));
        sinPuntos = t->valor(u"select max(articulo_id) from articulos where articulo_id<%1"_s.arg(
                                 actividad))
                        .toInt();
        t->ejecuta(
            u"update articulos set es_almacenable='N' where articulo_id=%1"_s.arg(sinPuntos));
        claveSinPuntos = t->clave(sinPuntos);
        QVERIFY(!claveActividad.isEmpty() && !claveSinPuntos.isEmpty());
        GuardaRegistro(t->s, u"Folio puntos empleados"_s, u"E00000001"_s);
        m_casa = lartest::preparaVale(*t);
    }

    // Customers as employees: the key road takes only a flagged, active customer;
    // the lines take only non-stocked activities with PUNTOS; the totals add to the
    // balance; bSaveClose writes one row per line under one IdGuia, prints the
    // voucher once and closes.
    void porClientes()
    {
        lista(true);
        lartest::GuionMensajes guion;
        const int antes = t->saldo();
        auto f = abre();
        QCOMPARE(f->windowTitle(), u"Asignar Puntos a Empleados"_s);
        QCOMPARE(f->FolioEmpleados, u"E00000001"_s);
        LAR_VERIFICA_ACCESIBLE(f.get());
        QCOMPARE(f->mClientes->recordCount(), 0); // nobody flagged yet

        QTest::keyClicks(f->txtCliente, t->claveCliente);
        QTest::keyClick(f->txtCliente, Qt::Key_Return);
        QCOMPARE(guion.textos(),
                 QStringList{u"El cliente no esta activo como empleado o esta en lista negra."_s});
        QCOMPARE(f->ClienteID, 0);
        t->ejecuta(u"update or insert into libres_clientes (cliente_id, empleado_puntos, "
                   "activo_puntos) values (%1, 'S', 'S')"_s.arg(t->cliente));
        guion.limpia();
        QTest::keyClick(f->txtCliente, Qt::Key_Return);
        QCOMPARE(f->ClienteID, t->cliente);
        QCOMPARE(f->PuntosDisponibles, antes);

        f->cxGrid->setFocus();
        escribe(*f, CapturaPuntos::colClave, t->clave1);
        escribe(*f, CapturaPuntos::colClave, claveSinPuntos);
        QCOMPARE(
            guion.textos(),
            (QStringList{u"El artículo con clave: '"_s + t->clave1
                             + u"' no existe ó es un articulo almacenable, favor de verificar"_s,
                         u"El artículo no tiene promoción de puntos."_s}));
        guion.limpia();
        escribe(*f, CapturaPuntos::colClave, claveActividad);
        QCOMPARE(f->mDet->fieldByName(u"Valor_Puntos"_s).asInteger(), 25);
        escribe(*f, CapturaPuntos::colUnidades, u"3"_s);
        escribe(*f, CapturaPuntos::colClave, claveActividad);
        escribe(*f, CapturaPuntos::colUnidades, u"1"_s);
        LAR_SIN_CAJAS(guion);
        QCOMPARE(f->TotalPuntos, 100);
        QCOMPARE(f->PuntosDisponibles, antes + 100); // the balance after the save
        QCOMPARE(f->lbPuntosDisponibles->text(),
                 QLocale(QLocale::Spanish, QLocale::Mexico).toString(antes + 100));

        Impresion impresion(true);
        f->bSaveClose->click();
        LAR_SIN_CAJAS(guion);
        QVERIFY(!f->isVisible());
        QCOMPARE(impresion.veces, 1);
        QCOMPARE(impresion.documento, u"Venta E00000001"_s);
        QVERIFY(f->DoctoID > 0);
        QCOMPARE(impresion.docto, f->DoctoID);
        const QFileInfo vale(m_casa + u"/Documents/Venta E00000001 - Vale de canje.xls"_s);
        QVERIFY2(vale.exists() && vale.size() > 0, qPrintable(vale.filePath()));

        const QString guia = u"docto_id=%1"_s.arg(f->DoctoID);
        QCOMPARE(filas(guia), 2);
        QCOMPARE(filas(guia
                       + u" and cliente_id=%1 and tipo_docto='A' and naturaleza='E' and "
                         "sistema='AP' and folio='E00000001' and articulo_id=%2"_s.arg(t->cliente)
                             .arg(actividad)),
                 2);
        QCOMPARE(filas(guia + u" and partida=1 and unidades=3 and valor_puntos=75"_s), 1);
        QCOMPARE(filas(guia + u" and partida=2 and unidades=1 and valor_puntos=25"_s), 1);
        QCOMPARE(t->saldo(), antes + 100);
        QCOMPARE(LeeRegistro(t->s, u"Folio puntos empleados"_s), u"E00000002"_s);
        QCOMPARE(t->valor(u"select count(*) from lar_datosclte"_s).toInt(), 0);
    }

    // Microsip's employees: chosen from the list, their EMPLEADO_ID in CLIENTE_ID.
    // bSaveNew saves, then the print saves again (same folio, another IdGuia) and
    // the form closes.
    void porEmpleadosConGuardarYNuevo()
    {
        lista(false);
        lartest::GuionMensajes guion;
        const int empleado = t->valor(u"select min(empleado_id) from empleados"_s).toInt();
        const QString nombre = t->texto(
            u"select nombre_completo from empleados where empleado_id=%1"_s.arg(empleado));
        const QString folio = LeeRegistro(t->s, u"Folio puntos empleados"_s);
        auto f = abre();
        QCOMPARE(f->mClientes->recordCount(),
                 t->valor(u"select count(*) from empleados where estatus='A'"_s).toInt());
        eligeDeLista(*f, nombre);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(f->ClienteID, empleado);
        QCOMPARE(f->lblNomCliente->text(), nombre);
        f->cxGrid->setFocus();
        escribe(*f, CapturaPuntos::colClave, claveActividad);
        escribe(*f, CapturaPuntos::colUnidades, u"2"_s);

        Impresion impresion;
        f->bSaveNew->click();
        LAR_SIN_CAJAS(guion);
        QVERIFY(!f->isVisible());
        QCOMPARE(impresion.veces, 1);
        const QString mismas = u"cliente_id=%1 and folio='%2'"_s.arg(empleado).arg(folio);
        QCOMPARE(filas(mismas + u" and valor_puntos=50"_s), 2);
        QCOMPARE(
            t->valor(u"select count(distinct docto_id) from lar_puntos where "_s + mismas).toInt(),
            2);
        QCOMPARE(impresion.docto,
                 t->valor(u"select max(docto_id) from lar_puntos where "_s + mismas).toInt());
        // Both saves write the folio after the one read at opening.
        QCOMPARE(LeeRegistro(t->s, u"Folio puntos empleados"_s), FolioSiguiente(folio, 9));
        QCOMPARE(t->valor(u"select count(*) from lar_datosclte"_s).toInt(), 0);
    }

    // bNew keeps the form open and empty; bPrint with nothing captured shows the
    // failed save, still opens the dialog with no document, and closes the form.
    // The rights mask governs the commands.
    void nuevoEImprimirSinCaptura()
    {
        lista(true);
        lartest::GuionMensajes guion;
        const int antes = filas(u"1=1"_s);
        auto f = abre();
        QTest::keyClicks(f->txtCliente, t->claveCliente);
        QTest::keyClick(f->txtCliente, Qt::Key_Return);
        QCOMPARE(f->ClienteID, t->cliente);
        // The articles list needs no warehouse and offers only activities.
        bool soloActividades = false;
        QTimer::singleShot(0, [&] {
            if (auto *l
                = qobject_cast<Tfcat_articulos_lista *>(QApplication::activeModalWidget())) {
                soloActividades = l->SoloNoAlmacenables && !l->SoloAlmacenables;
                l->reject();
            }
        });
        QTest::keyClick(f.get(), Qt::Key_F4);
        LAR_SIN_CAJAS(guion);
        QVERIFY(soloActividades);
        f->bNew->click();
        QVERIFY(f->isVisible());
        QVERIFY(f->bEdit->isChecked());
        QCOMPARE(f->ClienteID, 0);
        QVERIFY(f->txtCliente->text().isEmpty());
        QCOMPARE(t->valor(u"select count(*) from lar_datosclte"_s).toInt(), 0);

        Impresion impresion;
        f->bPrint->click();
        QCOMPARE(guion.textos(), QStringList{u"Primero debe seleccionar un cliente."_s});
        QCOMPARE(impresion.veces, 1);
        QCOMPARE(impresion.docto, 0);
        QVERIFY(!f->isVisible());
        QCOMPARE(filas(u"1=1"_s), antes);

        t->s.Permisos[79] = 4 | 8;
        TfAsignar_PA sinGuardar(t->s);
        QVERIFY(!sinGuardar.bSaveClose->isEnabled() && !sinGuardar.bSaveNew->isEnabled());
        QVERIFY(!sinGuardar.bNew->isEnabled());
        QVERIFY(sinGuardar.bPrint->isEnabled() && sinGuardar.bListaArt->isEnabled());
        t->s.Permisos[79] = 15;
    }

    // The save itself: a line without article keeps its partida; a failing insert
    // leaves no row and the folio where it was.
    void guardado()
    {
        GuardaActividad g(t->s);
        const int empleado = t->valor(u"select max(empleado_id) from empleados"_s).toInt();
        QCOMPARE(g.guarda({empleado, u"E00000100"_s, {}}).aviso.texto,
                 u"La venta no tiene artículos"_s);

        auto linea = [&](int articulo, int unidades) {
            return t->linea(articulo, u"X"_s, unidades, 0);
        };
        const GuardaActividad::Resultado r = g.guarda(
            {empleado, u"E00000100"_s, {linea(actividad, 1), linea(0, 0), linea(actividad, 4)}});
        QVERIFY2(r.ok, qPrintable(r.error));
        const QString guia = u"docto_id=%1"_s.arg(r.idGuia);
        QCOMPARE(filas(guia + u" and partida=1 and valor_puntos=10"_s), 1);
        QCOMPARE(filas(guia + u" and partida=3 and valor_puntos=40"_s), 1);
        QCOMPARE(filas(guia), 2);
        QCOMPARE(LeeRegistro(t->s, u"Folio puntos empleados"_s), u"E00000101"_s);

        // A folio wider than the column: the engine refuses, everything goes back.
        const int antes = filas(u"1=1"_s);
        const GuardaActividad::Resultado mal
            = g.guarda({empleado, u"E000000001X"_s, {linea(actividad, 1)}});
        QVERIFY(!mal.ok);
        QVERIFY(!mal.error.isEmpty());
        QCOMPARE(filas(u"1=1"_s), antes);
        QCOMPARE(LeeRegistro(t->s, u"Folio puntos empleados"_s), u"E00000101"_s);
    }
};

LAR_TEST_MAIN(TestActividad)
#include "tst_points_actividad.moc"
