// The redemption capture through its real form, offscreen, with the message boxes
// scripted: the customer and its lock, the lines and their checks in order, the
// ticket, the save through the buttons, the print dialog, reopening and cancelling.

#include "capturaprueba.h"

#include "core/acceso.h"
#include "core/registro.h"
#include "shared/listas.h"

#include "support/testmain.h"
#include "toolkit/memtable.h"

#include <QFileInfo>
#include <QLabel>
#include <QTextEdit>
#include <QToolButton>

using namespace lar;
using lartest::escribe;
using lartest::Impresion;
using lartest::Tienda;
using namespace Qt::StringLiterals;

class TestCaptura : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Tienda> t;
    QString m_casa;

    std::unique_ptr<TfVentasPuntos> nueva()
    {
        auto f = std::make_unique<TfVentasPuntos>(t->s);
        f->EsNueva = true;
        for (QPushButton *b : {f->bSave, f->bSaveClose, f->bSaveNew})
            b->setEnabled(true);
        lartest::muestra(*f);
        return f;
    }
    void cliente(TfVentasPuntos &f)
    {
        QTest::keyClicks(f.txtCliente, t->claveCliente);
        QTest::keyClick(f.txtCliente, Qt::Key_Return);
    }
    int bloqueos()
    {
        return t->valor(u"select count(*) from lar_datosclte where clienteid=%1"_s.arg(t->cliente))
            .toInt();
    }

private slots:
    void initTestCase()
    {
        t = std::make_unique<Tienda>(true);
        t->s.Permisos[73] = 1048575;
        m_casa = lartest::preparaVale(*t);
        QVERIFY2(!t->clave1.isEmpty() && !t->clave2.isEmpty() && !t->claveCliente.isEmpty(),
                 "claves");
    }

    // From bNew to the voucher: customer by key (balance shown, lock taken), two
    // lines by key, a quantity raised, the ticket, bSaveClose through the print
    // dialog; the rows are written, the lock gone. Then opened again and cancelled.
    void redencionCompleta()
    {
        lartest::GuionMensajes guion;
        const int saldo = t->saldo();
        const double exis1 = t->existencia(t->art1);
        int docto = 0;
        {
            auto f = nueva();
            QVERIFY(f->bEdit->isChecked());
            cliente(*f);
            QCOMPARE(f->ClienteID, t->cliente);
            QCOMPARE(f->lbPuntosDisponibles->text(),
                     QLocale(QLocale::Spanish, QLocale::Mexico).toString(saldo));
            QCOMPARE(bloqueos(), 1);

            f->cxGrid->setFocus();
            QCOMPARE(f->mDet->recordCount(), 1);
            escribe(*f, CapturaPuntos::colClave, t->clave1);
            LAR_SIN_CAJAS(guion);
            QCOMPARE(f->mDet->fieldByName(u"articulo_id"_s).asInteger(), t->art1);
            escribe(*f, CapturaPuntos::colUnidades, u"2"_s);
            QCOMPARE(f->mDet->recordCount(), 2); // a new row for the next key
            escribe(*f, CapturaPuntos::colClave, t->clave2);
            escribe(*f, CapturaPuntos::colUnidades, u"1"_s);
            QCOMPARE(f->TotalPuntos, 30);
            QCOMPARE(f->PuntosDisponibles, saldo - 30);
            QCOMPARE(f->vTotalPuntos->text(), u"30"_s);
            LAR_SIN_CAJAS(guion);
            const QStringList ticket = f->ticket().split(u'\n');
            QCOMPARE(ticket.size(), 3);
            QCOMPARE(ticket.at(0).size(), 46);
            QVERIFY(ticket.at(0).endsWith(u"20"_s));
            QCOMPARE(ticket.at(1), u"  2 x 10"_s);

            Impresion impresion(true);
            f->bSaveClose->click();
            LAR_SIN_CAJAS(guion);
            QVERIFY(f->DoctoID > 0);
            docto = f->DoctoID;
            QCOMPARE(impresion.veces, 1);
            QCOMPARE(impresion.docto, docto);
            QCOMPARE(impresion.documento, u"Venta "_s + f->vFolio->text());
            QCOMPARE(impresion.copias, 0);
            QCOMPARE(impresion.folder, FolderFormas(t->s));
            QCOMPARE(impresion.resultado, 1);
            const QFileInfo vale(m_casa + u"/Documents/Venta "_s + f->vFolio->text()
                                 + u" - Vale de canje.xls"_s);
            QVERIFY2(vale.exists() && vale.size() > 0, qPrintable(vale.filePath()));
            QVERIFY(!f->isVisible());
        }
        QCOMPARE(bloqueos(), 0);
        QCOMPARE(t->cuenta(u"lar_puntos where docto_id=%1"_s.arg(docto)), 2);
        QCOMPARE(t->existencia(t->art1), exis1 - 2);
        QCOMPARE(t->saldo(), saldo - 30);

        // Opened read-only, then cancelled: the balance comes back.
        TfVentasPuntos f(t->s);
        f.DoctoID = docto;
        f.show();
        QVERIFY(!f.bEdit->isChecked());
        QCOMPARE(f.mDet->recordCount(), 2);
        QCOMPARE(f.TotalPuntos, 30);
        QVERIFY(!f.imgCancelado->isVisible());
        guion.responde({mb::IdYes});
        f.bCancelar->click();
        QCOMPARE(guion.textos().value(0), u"¿Desea cancelar la venta?"_s);
        QVERIFY(f.imgCancelado->isVisible());
        QCOMPARE(t->saldo(), saldo);
        QCOMPARE(t->existencia(t->art1), exis1);
        guion.limpia();
        f.bCancelar->click();
        QCOMPARE(guion.textos(), QStringList{u"El documento ya está cancelado."_s});
        f.close();
    }

    // The checks of a line, in their order, and the quantity rules.
    void validaciones()
    {
        lartest::GuionMensajes guion;
        auto f = nueva();
        // No customer yet.
        f->cxGrid->setFocus();
        escribe(*f, CapturaPuntos::colClave, t->clave1);
        QCOMPARE(guion.textos().value(0), u"Favor de Seleccionar un cliente."_s);
        cliente(*f);
        guion.limpia();
        f->PuntosCliente = f->PuntosDisponibles = 15;
        t->ejecuta(
            u"update libres_articulos set valor_puntos=0 where articulo_id=%1"_s.arg(t->art2));
        // Points before price: above the balance, then without price.
        t->ejecuta(
            u"update libres_articulos set valor_puntos=20 where articulo_id=%1"_s.arg(t->art1));
        escribe(*f, CapturaPuntos::colClave, t->clave1);
        escribe(*f, CapturaPuntos::colClave, t->clave2);
        escribe(*f, CapturaPuntos::colClave, u"NO-EXISTE"_s);
        QCOMPARE(guion.textos(),
                 (QStringList{u"No tiene puntos suficientes."_s,
                              u"El artículo no tiene promoción de puntos."_s,
                              u"El artículo con clave: 'NO-EXISTE' no existe, favor "
                              "de verificar"_s}));
        t->ejecuta(u"update libres_articulos set valor_puntos=10 where articulo_id "
                   "in (%1, %2)"_s.arg(t->art1)
                       .arg(t->art2));

        // A counted line raised: only the increase is measured.
        guion.limpia();
        escribe(*f, CapturaPuntos::colClave, t->clave1);
        escribe(*f, CapturaPuntos::colUnidades, u"1"_s);
        QCOMPARE(f->PuntosDisponibles, 5);
        f->mDet->first();
        escribe(*f, CapturaPuntos::colUnidades, u"2"_s);
        QCOMPARE(guion.textos(), QStringList{u"Error: Puntos insuficientes."_s});
        guion.limpia();
        escribe(*f, CapturaPuntos::colUnidades, u"0"_s);
        QCOMPARE(guion.textos(), QStringList{u"Error: La cantidad especificada no es válida"_s});

        // Stock: an article the warehouse lacks is refused, unless Microsip accepts it.
        t->ejecuta(
            u"update libres_articulos set valor_puntos=1 where articulo_id=%1"_s.arg(t->art2));
        f->PuntosCliente = 1000;
        f->CalculaTotales();
        const int exis2 = int(t->existencia(t->art2));
        f->mDet->last();
        escribe(*f, CapturaPuntos::colClave, t->clave2);
        guion.limpia();
        escribe(*f, CapturaPuntos::colUnidades, QString::number(exis2 + 1));
        QCOMPARE(guion.textos(), QStringList{u"No hay existencia suficiente del artículo."_s});
        QCOMPARE(f->mDet->fieldByName(u"Unidades"_s).asInteger(), 1);
        f->AceptaSinExistencia = true;
        guion.limpia();
        escribe(*f, CapturaPuntos::colUnidades, QString::number(exis2 + 1));
        LAR_SIN_CAJAS(guion);
        const QList<LineaCanje> lineas = f->lineas();
        QCOMPARE(lineas.value(lineas.size() - 2).unidades, exis2 + 1); // and a new row after it
        t->ejecuta(
            u"update libres_articulos set valor_puntos=10 where articulo_id=%1"_s.arg(t->art2));

        // Closing: No keeps the capture but loses the lock.
        guion.limpia();
        guion.responde({mb::IdNo});
        f->close();
        QVERIFY(f->isVisible());
        QCOMPARE(guion.textos(),
                 QStringList{u"¿Desea cancelar la edición de la Canje de puntos?"_s});
        QCOMPARE(bloqueos(), 0);
        guion.responde({mb::IdYes});
        f->close();
        QVERIFY(!f->isVisible());
    }

    // The commands around a capture: the chooser needs a customer; any key in the
    // customer box asks before the loaded one is lost; a new warehouse keeps the lines
    // on No; F12 saves, prints as many ticket copies as ticket units and starts a clean
    // capture without the lock; bNew drops a capture and its lock.
    void comandos()
    {
        lartest::GuionMensajes guion;
        GuardaRegistro(t->s, u"UsarArtBoleto"_s, u"S"_s);
        GuardaRegistro(t->s, u"ArtBoleto"_s, QString::number(t->boleto));
        GuardaRegistro(t->s, u"FormaBoleto"_s, u"Boleto"_s);
        auto f = nueva();
        f->bListaArt->click();
        QCOMPARE(guion.textos(), QStringList{u"Primero debe seleccionar un cliente."_s});
        guion.limpia();
        cliente(*f);
        QCOMPARE(f->ClienteID, t->cliente);
        // The warehouse comes next; Enter there goes on to the lines.
        QCOMPARE(QApplication::focusWidget(), f->cmbAlmacen);
        QTest::keyClick(f->cmbAlmacen, Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), f->cxGrid);

        // A letter, not Enter, asks first; No keeps the customer and eats the key.
        const QString clave = f->txtCliente->text();
        QTest::keyClick(f->txtCliente, Qt::Key_X);
        QCOMPARE(guion.textos(), QStringList{u"Se perderá la captura. ¿Desea continuar?"_s});
        QCOMPARE(f->txtCliente->text(), clave);
        QCOMPARE(f->ClienteID, t->cliente);
        QCOMPARE(bloqueos(), 1);

        f->cxGrid->setFocus();
        escribe(*f, CapturaPuntos::colClave, t->clave1);
        escribe(*f, CapturaPuntos::colUnidades, u"1"_s);
        escribe(*f, CapturaPuntos::colClave, t->claveBoleto); // not stocked: the ticket passes
        escribe(*f, CapturaPuntos::colUnidades, u"2"_s);
        QCOMPARE(f->TotalPuntos, 30);

        // Another warehouse: No leaves it selected and the lines in place.
        guion.limpia();
        const int almacen = f->almacen();
        QVERIFY(f->cmbAlmacen->count() > 1);
        f->cmbAlmacen->setCurrentIndex(f->cmbAlmacen->currentIndex() == 0 ? 1 : 0);
        QCOMPARE(guion.textos(), QStringList{u"Se perderá la captura. ¿Desea continuar?"_s});
        QVERIFY(f->almacen() != almacen);
        QCOMPARE(f->lineas().size(), 3);
        f->cmbAlmacen->setKeyValue(almacen); // asked again, No again
        guion.limpia();
        QCOMPARE(f->almacen(), almacen);

        const int saldo = t->saldo();
        Impresion impresion;
        QTest::keyClick(f.get(), Qt::Key_F12);
        LAR_SIN_CAJAS(guion);
        GuardaRegistro(t->s, u"UsarArtBoleto"_s, u"N"_s);
        GuardaRegistro(t->s, u"ArtBoleto"_s, QString());
        QCOMPARE(impresion.veces, 1);
        QCOMPARE(impresion.copias, 2);
        QVERIFY(impresion.docto > 0);
        QCOMPARE(t->saldo(), saldo - 30);
        QCOMPARE(t->cuenta(u"lar_puntos where docto_id=%1"_s.arg(impresion.docto)), 2);
        QCOMPARE(bloqueos(), 0);
        QVERIFY(f->isVisible());
        QVERIFY(f->bEdit->isChecked());
        QVERIFY(f->EsNueva);
        QCOMPARE(f->DoctoID, 0);
        QCOMPARE(f->ClienteID, 0);
        QVERIFY(f->mDet->isEmpty());
        QVERIFY(f->ticket().isEmpty());

        // bNew on a loaded customer: the lock goes with the capture.
        cliente(*f);
        QCOMPARE(bloqueos(), 1);
        f->bNew->click();
        QCOMPARE(bloqueos(), 0);
        QCOMPARE(f->ClienteID, 0);
        QVERIFY(f->txtCliente->text().isEmpty());
        guion.responde({mb::IdYes});
        f->close();
        QVERIFY(!f->isVisible());
    }

    // The rights mask of the module sets the commands, and the keys act only through
    // enabled commands: F4 the chooser, Ctrl+M the edit toggle, Esc the closing.
    void derechosYTeclas()
    {
        lartest::GuionMensajes guion;
        struct Caso
        {
            quint32 mascara;
            bool nuevo, cancelar, imprimir, lista;
        };
        for (const Caso c :
             {Caso{2 | 8, true, false, true, false}, Caso{4 | 16, false, true, false, true}}) {
            t->s.Permisos[73] = c.mascara;
            auto f = nueva();
            QCOMPARE(f->bNew->isEnabled(), c.nuevo);
            QCOMPARE(f->bCancelar->isEnabled(), c.cancelar);
            QCOMPARE(f->bPrint->isEnabled(), c.imprimir);
            QCOMPARE(f->bListaArt->isEnabled(), c.lista);
            guion.limpia();
            QTest::keyClick(f.get(), Qt::Key_F4);
            QCOMPARE(guion.textos(),
                     c.lista ? QStringList{u"Primero debe seleccionar un cliente."_s}
                             : QStringList{});

            f->bEdit->setChecked(false);
            QTest::keyClick(f.get(), Qt::Key_M, Qt::ControlModifier);
            QVERIFY(f->bEdit->isChecked());

            guion.limpia();
            guion.responde({mb::IdYes});
            QTest::keyClick(f.get(), Qt::Key_Escape);
            QCOMPARE(guion.textos(),
                     QStringList{u"¿Desea cancelar la edición de la Canje de puntos?"_s});
            QVERIFY(!f->isVisible());
        }
        t->s.Permisos[73] = 1048575;
    }

    // Tickets in use without their print form: the redemption is saved, then told so,
    // and no print dialog comes up.
    void boletoSinForma()
    {
        lartest::GuionMensajes guion;
        GuardaRegistro(t->s, u"UsarArtBoleto"_s, u"S"_s);
        GuardaRegistro(t->s, u"ArtBoleto"_s, QString::number(t->boleto));
        GuardaRegistro(t->s, u"FormaBoleto"_s, QString());
        auto f = nueva();
        cliente(*f);
        f->cxGrid->setFocus();
        escribe(*f, CapturaPuntos::colClave, t->claveBoleto);
        escribe(*f, CapturaPuntos::colUnidades, u"1"_s);
        guion.limpia();
        Impresion impresion;
        f->bPrint->click();
        GuardaRegistro(t->s, u"UsarArtBoleto"_s, u"N"_s);
        GuardaRegistro(t->s, u"ArtBoleto"_s, QString());
        QCOMPARE(guion.textos(),
                 QStringList{u"Debe seleccionar una forma de impresión para el "
                             "boleto en configuración."_s});
        QCOMPARE(impresion.docto, -1);
        QVERIFY(f->Guardada);
        QVERIFY(f->DoctoID > 0);
        QCOMPARE(t->cuenta(u"lar_puntos where docto_id=%1"_s.arg(f->DoctoID)), 1);
        guion.responde({mb::IdYes});
        f->close();
        QCOMPARE(bloqueos(), 0);
    }

    // A customer held by another station: refused on the key road; the list road
    // offers the release behind a login.
    void bloqueoAjeno()
    {
        lartest::GuionMensajes guion;
        Sesion otra;
        t->env->conectaSesion(otra);
        otra.UsuarioActual = u"CAJERO2"_s;
        BloqueaCliente(otra, t->cliente, t->claveCliente, u"x"_s);
        auto f = nueva();
        cliente(*f);
        QCOMPARE(guion.textos(),
                 QStringList{u"Otro usuario está generando una venta con este "
                             "cliente, inténtelo más tarde"_s});
        QCOMPARE(f->ClienteID, 0);
        QVERIFY(f->txtCliente->text().isEmpty());
        QCOMPARE(bloqueos(), 1);

        // The list road: shown the holder, Yes, a login, and the lock changes hands.
        guion.limpia();
        guion.responde({mb::IdYes});
        QTimer sondeo;
        bool conLogin = false;
        QObject::connect(&sondeo, &QTimer::timeout, [&] {
            QWidget *w = QApplication::activeModalWidget();
            if (auto *a = qobject_cast<TfAcceso *>(w)) {
                conLogin = true;
                a->vUser->setText(u"SYSDBA"_s);
                a->vPass->setText(u"masterkey"_s);
                a->bOk->click();
            } else if (w && w != f.get()) {
                qobject_cast<QDialog *>(w)->reject(); // the picker: the row is chosen below
            }
        });
        sondeo.start(20);
        f->bCliente->click();
        QVERIFY(f->mClientes->locate(u"id"_s, t->cliente));
        f->CargarDatosCliente();
        sondeo.stop();
        QVERIFY(conLogin);
        QVERIFY2(guion.textos().value(0).startsWith(
                     u"Este cliente está siendo utilizado por CAJERO2 creado el "_s),
                 qPrintable(guion.textos().join(u'|')));
        QVERIFY(guion.textos().value(0).endsWith(u" ¿Desea liberarlo?"_s));
        QCOMPARE(f->ClienteID, t->cliente);
        QCOMPARE(bloqueos(), 1);
        QCOMPARE(LeeBloqueo(otra, t->cliente).usuario, t->s.UsuarioActual);

        // A new warehouse with lines, Yes: the capture is cleared and the list's
        // customer taken again; the capture's own lock is found and, behind a login,
        // taken over. The new warehouse stays.
        QApplication::setActiveWindow(f.get()); // back from the login dialog
        f->cxGrid->setFocus();
        escribe(*f, CapturaPuntos::colClave, t->clave1);
        escribe(*f, CapturaPuntos::colUnidades, u"1"_s);
        QVERIFY(!f->mDet->isEmpty());
        guion.limpia();
        guion.responde({mb::IdYes, mb::IdYes});
        conLogin = false;
        sondeo.start(20);
        const int almacen = f->almacen();
        f->cmbAlmacen->setCurrentIndex(f->cmbAlmacen->currentIndex() == 0 ? 1 : 0);
        sondeo.stop();
        QVERIFY(conLogin);
        QCOMPARE(guion.textos().size(), 2);
        QCOMPARE(guion.textos().value(0), u"Se perderá la captura. ¿Desea continuar?"_s);
        QVERIFY2(guion.textos().value(1).startsWith(u"Este cliente está siendo utilizado por "_s
                                                    + t->s.UsuarioActual),
                 qPrintable(guion.textos().join(u'|')));
        QVERIFY(f->almacen() != almacen);
        QVERIFY(f->lineas().isEmpty());
        QCOMPARE(f->ClienteID, t->cliente);
        QCOMPARE(bloqueos(), 1);

        guion.limpia();
        guion.responde({mb::IdYes});
        f->close();
        QCOMPARE(bloqueos(), 0);
    }
};

LAR_TEST_MAIN(TestCaptura)
#include "tst_points_canje_captura.moc"
