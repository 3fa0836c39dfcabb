// The configuration screen driven through its widgets, offscreen, on a stand-in
// company with points; then rules saved on it rule the sales that microsip-sim plays.

#include "empresapuntos.h"

#include "catalog/fconfig.h"
#include "core/acceso.h"
#include "core/ayudagui.h"
#include "core/fmain.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "shared/flista.h"
#include "support/accesibilidad.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTest>

#include <memory>

using namespace lar;
using lartest::alAparecer;
using lartest::GuionMensajes;

class TstConfig : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EmpresaPuntos> m_emp;
    std::unique_ptr<Sesion> m_s;

    std::unique_ptr<TfConfig> abre(quint32 acceso = 3, bool editar = true)
    {
        if (!m_s) {
            m_s = std::make_unique<Sesion>();
            m_emp->entorno().conectaSesion(*m_s);
        }
        auto f = std::make_unique<TfConfig>(*m_s);
        f->Acceso = acceso;
        f->resize(1300, 640);
        f->show();
        if (!QTest::qWaitForWindowExposed(f.get()))
            qWarning("the form wasn't exposed");
        if (editar)
            f->bEdit->click();
        return f;
    }

    // A stored setting, read without creating it.
    QString valor(const QString &clave)
    {
        return m_emp
            ->valor(QStringLiteral("SELECT VALOR FROM LAR_REGISTRO WHERE NOMBRE = '%1' AND "
                                   "TIPO = 'V'")
                        .arg(clave))
            .toString();
    }

    QString activo(int cliente)
    {
        return m_emp
            ->valor(QStringLiteral("SELECT COALESCE(ACTIVO_PUNTOS, '-') FROM LIBRES_CLIENTES "
                                   "WHERE CLIENTE_ID = %1")
                        .arg(cliente))
            .toString();
    }

    // Chooses the row with that id in the picker that the action opens.
    static void elige(int id, const std::function<void()> &accion)
    {
        alAparecer<TFLista>([id](TFLista *l) {
            l->dataSet()->locate(QStringLiteral("Id"), id);
            l->Aceptar->click();
        });
        accion();
    }

    static void autoriza(bool si)
    {
        alAparecer<TfAcceso>([si](TfAcceso *a) {
            a->vPass->setText(QStringLiteral("masterkey"));
            (si ? a->bOk : a->bCancel)->click();
        });
    }

    // The control that holds the focus is c or inside it.
    static bool enfocado(TfConfig &f, QWidget *c)
    {
        QWidget *w = f.focusWidget();
        return w && (w == c || c->isAncestorOf(w));
    }

private slots:
    void initTestCase() { m_emp = std::make_unique<lartest::EmpresaPuntos>(false, true); }

    void abreDesdeElMenu()
    {
        RegistraConfiguracion();
        for (const quint32 acceso : {1u, 3u}) {
            TfMain m;
            m_emp->entorno().conectaSesion(m.sesion());
            m.sesion().Permisos[10] = acceso;
            m.fPrimeraActivacion = false;
            m.show();
            QVERIFY(QTest::qWaitForWindowExposed(&m));
            m.aSisConfiguracion->trigger();
            auto *f = m.fPanelFondo->findChild<TfConfig *>();
            QVERIFY(f && f->isVisible());
            QCOMPARE(m.Modulo->text(), QStringLiteral("Configuración"));
            QCOMPARE(f->bEdit->isEnabled(), acceso == 3);
        }
        QuitaModulo(10);
    }

    void porOmisionYSoloLectura()
    {
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre(1, false);
        QCOMPARE(f->pcConfig->currentWidget(), f->TabPuntos);
        QVERIFY(!f->bEdit->isEnabled()); // no bit 2
        for (QCheckBox *c : {f->vPuntosActivo,
                             f->ckPuntosVentas,
                             f->vPuntosArtActivo,
                             f->vPuntosImpActivo,
                             f->rbPtolinea,
                             f->ckTarjeta,
                             f->chkReinicio,
                             f->chkBoleto,
                             f->rbArtsinExt,
                             f->chkArtAlmacenables})
            QVERIFY2(!c->isChecked(), qPrintable(c->objectName()));
        QVERIFY(!f->RBListaClientes->isChecked() && !f->RBListaEmpleados->isChecked());
        QCOMPARE(f->vNoVentas->text(), QStringLiteral("0"));
        QCOMPARE(f->vPuntos->text() + f->vPesos->text() + f->vFolioPuntos->text()
                     + f->vArticulo->text(),
                 QString());
        QCOMPARE(f->vTraspConSal->currentIndex(), -1);
        QCOMPARE(f->cmbAlmacen->currentIndex(), -1);
        QCOMPARE(f->dtpReinicio->date(), QDate::currentDate());
        QCOMPARE(f->seDias->value(), 0);
        QCOMPARE(f->mlineaspuntos->recordCount(), 2);
        QCOMPARE(f->mDetalle->recordCount(), 1); // C3, off the points
        QCOMPARE(f->mDetalle->fieldByName(QStringLiteral("Nombre")).asString(),
                 QStringLiteral("C3"));
        QCOMPARE(f->edPass->echoMode(), QLineEdit::Password);

        // Read-only, whatever the rights: a click changes nothing.
        QVERIFY(f->vPuntos->isReadOnly() && !f->vFolioPuntos->isEnabled()
                && !f->bAddArt->isEnabled());
        QTest::mouseClick(f->vPuntosActivo, Qt::LeftButton);
        QVERIFY(!f->vPuntosActivo->isChecked());
        f->close();
        QVERIFY(abre(3, false)->bEdit->isEnabled());

        // The input rules, in edit mode.
        f = abre();
        for (int i = 0; i < f->pcConfig->count(); ++i) { // every page
            f->pcConfig->setCurrentIndex(i);
            LAR_VERIFICA_ACCESIBLE(f.get());
        }
        f->pcConfig->setCurrentIndex(0);
        QVERIFY(!f->vPuntos->isReadOnly() && f->vFolioPuntos->isEnabled());
        QTest::keyClick(f->vFolioPuntos, Qt::Key_A);
        QTest::sendKeyEvent(QTest::Click, f->vFolioPuntos, Qt::Key_Ntilde, QStringLiteral("ñ"), {});
        QTest::keyClicks(f->vFolioPuntos, QStringLiteral("1b-c2345678"));
        QCOMPARE(f->vFolioPuntos->text(), QStringLiteral("A1BC23456"));
        QTest::keyClicks(f->vPuerto, QStringLiteral("5x87"));
        QCOMPARE(f->vPuerto->text(), QStringLiteral("587"));
        QTest::keyClicks(f->vCorreoRem, QStringLiteral("ventas@tienda.mx"));
        QCOMPARE(f->vCorreoRem->text(), QStringLiteral(" ventas@tienda.mx"));
        // Closing without saving writes nothing, and asks nothing.
        f->close();
        QCOMPARE(valor(QStringLiteral("Folio Puntos")), QString());
        QCOMPARE(guion.cajas().size(), 0);
    }

    void alternativasYEmpleados()
    {
        GuionMensajes guion;
        m_emp->ejecuta(QStringLiteral("DELETE FROM LAR_PUNTOSLINEAS"));
        std::unique_ptr<TfConfig> f = abre();
        QVERIFY(!f->vPuntos->isEnabled());
        f->vPuntosImpActivo->click();
        QVERIFY(f->vPuntos->isEnabled() && f->vPesos->isEnabled() && !f->rbPtolinea->isChecked());
        f->rbPtolinea->click();
        QVERIFY(!f->vPuntosImpActivo->isChecked() && !f->vPuntos->isEnabled());
        QCOMPARE(f->mlineaspuntos->recordCount(), 1); // an empty row to fill
        f->rbPtolinea->click();
        QVERIFY(!f->rbPtolinea->isChecked() && !f->vPuntosImpActivo->isChecked());

        f->RBListaEmpleados->click();
        QCOMPARE(guion.textos(),
                 QStringList{QStringLiteral("La empresa no tiene empleados registrados.")});
        QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Aviso del sistema"));
        QVERIFY(f->RBListaClientes->isChecked() && !f->RBListaEmpleados->isChecked());
        m_emp->ejecuta(
            QStringLiteral("INSERT INTO EMPLEADOS (EMPLEADO_ID, NUMERO, NOMBRE_COMPLETO) "
                           "VALUES (1, 1, 'E1')"));
        f->RBListaEmpleados->click();
        QVERIFY(f->RBListaEmpleados->isChecked() && !f->RBListaClientes->isChecked());
        QCOMPARE(guion.cajas().size(), 1);
        m_emp->ejecuta(QStringLiteral("INSERT INTO LAR_PUNTOSLINEAS VALUES (10, 2, 100)"));
        m_emp->ejecuta(QStringLiteral("INSERT INTO LAR_PUNTOSLINEAS VALUES (20, 1, 50)"));
    }

    void listaNegraAgregaAlGuardarQuitaAlMomento()
    {
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre();
        elige(2, [&] { f->bAddArt->click(); });
        elige(3, [&] { f->bAddArt->click(); });
        QCOMPARE(guion.textos(), QStringList{QStringLiteral("El cliente ya está en la lista")});
        QCOMPARE(f->mDetalle->recordCount(), 2);
        QVERIFY(f->mDetalle->locate(QStringLiteral("Id"), 3));
        guion.limpia();
        guion.responde({mb::IdNo, mb::IdYes});
        f->bDelArt->click();
        QCOMPARE(activo(3), QStringLiteral("N"));
        f->bDelArt->click();
        QCOMPARE(guion.textos(), QStringList(2, QStringLiteral("¿Desea eliminar el cliente C3 ?")));
        QCOMPARE(guion.cajas()[1].titulo, QStringLiteral("Eliminar"));
        QCOMPARE(guion.cajas()[1].predeterminado(), 2);
        QCOMPARE(activo(3), QStringLiteral("S")); // written at once
        // Added, then removed before any save: nothing to write either.
        QVERIFY(f->mDetalle->locate(QStringLiteral("Id"), 2));
        guion.responde({mb::IdYes});
        f->bDelArt->click();
        QVERIFY(f->mDetalle->isEmpty());
        elige(2, [&] { f->bAddArt->click(); });
        f->close(); // without saving
        m_s.reset();
        QCOMPARE(activo(3), QStringLiteral("S"));
        QCOMPARE(m_emp
                     ->valor(QStringLiteral("SELECT COUNT(*) FROM LIBRES_CLIENTES WHERE "
                                            "CLIENTE_ID = 2"))
                     .toInt(),
                 0);
        QVERIFY(abre(3, false)->mDetalle->isEmpty());
    }

    void lineaRepetidaYNavegacion()
    {
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre();
        MemGrid *g = f->gridLineas;
        g->setFocus();
        g->setCurrentIndex(g->model()->index(1, 2));
        QTest::keyClick(g, Qt::Key_Return); // Enter on "Importe": a new row
        QCOMPARE(f->mlineaspuntos->recordCount(), 3);
        QCOMPARE(g->currentIndex(), g->model()->index(2, 0));
        auto eligeLinea = [&](const QString &nombre) {
            g->edit(g->model()->index(2, 0));
            auto *c = g->findChild<QComboBox *>(QStringLiteral("edLinea"));
            QVERIFY(c);
            c->setCurrentIndex(c->findText(nombre));
            QTest::keyClick(c, Qt::Key_Return);
        };
        eligeLinea(QStringLiteral("L10"));
        QTRY_COMPARE(guion.textos(),
                     QStringList{QStringLiteral("La linea ya esta agregada a la lista.")});
        QCOMPARE(f->mlineaspuntos->recordCount(), 2);
        QCOMPARE(g->currentIndex().column(), 0);
        QTest::keyClick(g, Qt::Key_Right);
        QCOMPARE(g->currentIndex().column(), 1);
        f->agregaLinea();
        eligeLinea(QStringLiteral("L30"));
        QTRY_COMPARE(f->mlineaspuntos->valueOfAnyRow(2, 0).toInt(), 30);
        QCOMPARE(guion.cajas().size(), 1);
        QTest::keyClick(g, Qt::Key_Delete, Qt::ControlModifier);
        QCOMPARE(f->mlineaspuntos->recordCount(), 2);
    }

    void reinicioManualYProgramado()
    {
        GuionMensajes guion;
        for (int c : {1, 11, 12})
            m_emp->ejecuta(QStringLiteral("INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, "
                                          "TIPO_DOCTO, NATURALEZA, VALOR_PUNTOS) VALUES "
                                          "(GEN_ID(GEN_LAR_PUNTOS, 1), %1, 'A', 'E', %1)")
                               .arg(c));
        std::unique_ptr<TfConfig> f = abre(3, false);
        GuardaRegistro(*m_s, QStringLiteral("Folio Puntos"), QStringLiteral("R00000005"));
        QVERIFY(!f->btnReiniciar->isEnabled());
        f->bEdit->click();
        f->ckReinicia->click();
        QVERIFY(f->btnReiniciar->isEnabled());
        const QString filas
            = QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOS WHERE TIPO_DOCTO = 'S'");
        f->btnReiniciar->click(); // No, the default
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(
            guion.cajas()[0].texto,
            QStringLiteral("¿Desea reiniciar los puntos?, esta acción no podrá ser revertida."));
        QCOMPARE(guion.cajas()[0].titulo, QStringLiteral("Reinicio de puntos"));
        QCOMPARE(guion.cajas()[0].flags & 0xFFF, mb::YesNo | mb::IconQuestion | mb::DefButton2);
        guion.responde({mb::IdYes});
        autoriza(false);
        f->btnReiniciar->click();
        QCOMPARE(m_emp->valor(filas).toInt(), 0);
        guion.responde({mb::IdYes});
        autoriza(true);
        f->btnReiniciar->click();
        QCOMPARE(guion.cajas().size(), 3); // no message after the reset
        QCOMPARE(m_emp->valor(filas).toInt(), 3);
        QCOMPARE(m_emp->saldo(11), 0);
        QCOMPARE(f->vFolioPuntos->text(), QStringLiteral("R6"));

        // The scheduled reset asks too, and unticks itself without the administrator.
        guion.limpia();
        f->chkReinicio->click();
        QVERIFY(!f->chkReinicio->isChecked());
        guion.responde({mb::IdYes});
        autoriza(false);
        f->chkReinicio->click();
        QVERIFY(!f->chkReinicio->isChecked());
        guion.responde({mb::IdYes});
        autoriza(true);
        f->chkReinicio->click();
        QVERIFY(f->chkReinicio->isChecked());
        QCOMPARE(guion.textos(),
                 QStringList(3,
                             QStringLiteral("¿Desea reiniciar los puntos en la fecha "
                                            "seleccionada?, esta acción no podrá ser revertida.")));
    }

    void validacionEnOrdenYGuardado()
    {
        // Print forms in Microsip's report store: two of the tickets, one of transfers.
        {
            fb::Database config;
            m_emp->entorno().conectaConfig(config);
            fb::Transaction tr(&config);
            fb::Query q(&config, &tr);
            const QString carpeta = QStringLiteral(
                "(SELECT F.FOLDER_ID FROM RB_FOLDER F JOIN RB_FOLDER P ON P.FOLDER_ID = "
                "F.PARENT_ID JOIN RB_FOLDER L ON L.FOLDER_ID = P.PARENT_ID WHERE F.NAME = "
                "'Formas' AND P.NAME = '%1' AND L.NAME = 'LarvenosPV' AND L.PARENT_ID = 0)");
            const QList<QPair<QString, QString>> formas{
                {QStringLiteral("Puntos"), QStringLiteral("Boleto grande")},
                {QStringLiteral("Puntos"), QStringLiteral("Boleto chico")},
                {QStringLiteral("Traspasos"), QStringLiteral("Traspaso")}};
            int id = 9100;
            for (const auto &[donde, nombre] : formas) {
                q.setSql(QStringLiteral("INSERT INTO RB_ITEM (ITEM_ID, FOLDER_ID, NAME) VALUES "
                                        "(%1, %2, '%3')")
                             .arg(++id)
                             .arg(carpeta.arg(donde), nombre));
                q.execute();
            }
            tr.commit();
        }
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre();
        QCOMPARE(f->vListaFormas->count(), 2);
        QCOMPARE(f->vListaFormas->item(0)->text(), QStringLiteral("Boleto chico"));
        QVERIFY(!f->vListaFormas->currentItem());
        f->vListaFormas->setCurrentRow(1);
        f->vFolioPuntos->setText(QStringLiteral("A0"));
        f->vPuntosImpActivo->click();
        guion.responde({mb::IdYes});
        autoriza(true);
        f->chkReinicio->click();
        f->seDias->setValue(5);
        f->chkBoleto->click();
        // Each step: what to fix before the next save, and what the save says.
        struct Paso
        {
            std::function<void()> antes;
            QWidget *control;
            QString texto;
        };
        const QList<Paso> pasos{
            {[] {},
             f->vFolioPuntos,
             QStringLiteral(
                 "Indique un folio correcto para los puntos, debe ser una letra y un numero.")},
            {[&] { f->vFolioPuntos->setText(QStringLiteral("A1")); },
             f->vPuntos,
             QStringLiteral("Favor de indicar un puntaje válido.")},
            {[&] { f->vPuntos->setText(QStringLiteral("2")); },
             f->vPesos,
             QStringLiteral("Los días seleccionados no son válidos.")},
            {[&] { f->vPesos->setText(QStringLiteral("99.50001")); },
             f->vCorreoRem,
             QStringLiteral("Favor de indicar un correo válido.")},
            {[&] { f->vCorreoRem->setText(QStringLiteral(" a@b.mx")); },
             f->edPass,
             QStringLiteral("Favor de indicar una contraseña.")},
            {[&] { f->edPass->setText(QStringLiteral("x")); },
             f->vHost,
             QStringLiteral("Favor de indicar un Servidor.")},
            {[&] { f->vHost->setText(QStringLiteral("smtp.b.mx")); },
             f->vPuerto,
             QStringLiteral("Favor de indicar un Puerto.")},
            // Days 0: the mail isn't asked for any more.
            {[&] {
                 f->vCorreoRem->clear();
                 f->seDias->setValue(0);
             },
             f->seDias,
             QStringLiteral("Favor de indicar un puntaje válido.")},
            {[&] {
                 f->seDias->setValue(3);
                 f->vCorreoRem->setText(QStringLiteral(" a@b.mx"));
                 f->vPuerto->setText(QStringLiteral("587"));
             },
             f->vArticulo,
             QStringLiteral("Favor de indicar un Artículo para boleto.")},
        };
        for (int i = 0; i < pasos.size(); ++i) {
            guion.limpia();
            pasos[i].antes();
            f->pcConfig->setCurrentWidget(i == 3 ? f->TabOtros : f->TabPuntos);
            f->bSave->click();
            QVERIFY2(f->isVisible(), qPrintable(QString::number(i + 1)));
            QCOMPARE(guion.textos(), QStringList{pasos[i].texto});
            QCOMPARE(guion.cajas()[0].titulo,
                     i == 0 ? QStringLiteral("Aviso del sistema") : QStringLiteral("Aviso"));
            QCOMPARE(guion.cajas()[0].flags & 0xFFF, mb::Ok | mb::IconInformation);
            QCOMPARE(f->pcConfig->currentWidget(), i == 8 ? f->TabOtros : f->TabPuntos);
            QVERIFY2(enfocado(*f, pasos[i].control), qPrintable(pasos[i].control->objectName()));
        }
        elige(105, [&] { f->bArticulo->click(); });
        QCOMPARE(f->vArticulo->text(), QStringLiteral("A5"));
        guion.limpia();
        f->bSave->click();
        QCOMPARE(guion.textos(), QStringList());
        QVERIFY(!f->isVisible());
        const QList<QPair<QString, QString>> guardado{
            {QStringLiteral("Folio Puntos"), QStringLiteral("A00000001")},
            {QStringLiteral("Factor Total Importe Puntos"), QStringLiteral("2")},
            {QStringLiteral("Factor Cantidad Pesos"), QStringLiteral("99.5")},
            {QStringLiteral("Puntos Importe Activo"), QStringLiteral("S")},
            {QStringLiteral("Puntos Importe Linea"), QStringLiteral("N")},
            {QStringLiteral("No. de vtas"), QStringLiteral("0")},
            {QStringLiteral("Folio puntos empleados"), QStringLiteral("000000000")},
            {QStringLiteral("Dias antes del reinicio para enviar correo"), QStringLiteral("3")},
            {QStringLiteral("Fecha establecida para el reinicio"),
             QDate::currentDate().toString(QStringLiteral("dd/MM/yyyy"))},
            {QStringLiteral("CorreoRem"), QStringLiteral(" a@b.mx")},
            {QStringLiteral("UsarArtBoleto"), QStringLiteral("S")},
            {QStringLiteral("ArtBoleto"), QStringLiteral("105")},
            {QStringLiteral("Lista por empleados"), QStringLiteral("N")},
            {QStringLiteral("FormaBoleto"), QStringLiteral("Boleto grande")}};
        for (const auto &[clave, esperado] : guardado)
            QCOMPARE(valor(clave), esperado);
        f = abre(3, false);
        QVERIFY(f->vListaFormas->currentItem());
        QCOMPARE(f->vListaFormas->currentItem()->text(), QStringLiteral("Boleto grande"));
        QCOMPARE(f->vArticulo->text(), QStringLiteral("A5"));
        QCOMPARE(f->vPesos->text(), QStringLiteral("99.5"));
    }

    void reglasGuardadasRigenLasVentas()
    {
        auto guarda = [&](const std::function<void(TfConfig &)> &cambios) {
            GuionMensajes guion;
            {
                std::unique_ptr<TfConfig> f = abre();
                f->vFolioPuntos->setText(QStringLiteral("P1"));
                cambios(*f);
                f->bSave->click();
                QVERIFY(!f->isVisible());
            }
            QCOMPARE(guion.textos(), QStringList());
            m_s.reset(); // microsip-sim opens the company by itself
        };
        auto juega = [&](const QString &guion) {
            const auto [obtenido, esperado] = m_emp->juega(guion);
            QCOMPARE(obtenido, esperado);
        };
        // 3 points each 50 pesos, two sales a day per cashier; C2 off the points.
        guarda([](TfConfig &f) {
            f.vPuntosActivo->setChecked(true);
            f.vPuntosArtActivo->setChecked(false);
            f.ckTarjeta->setChecked(false);
            f.vPuntosImpActivo->setChecked(true);
            f.vPuntos->setText(QStringLiteral("3"));
            f.vPesos->setText(QStringLiteral("50"));
            f.vNoVentas->setText(QStringLiteral("2"));
            elige(2, [&] { f.bAddArt->click(); });
        });
        juega(
            QStringLiteral("sell a c13 100x2.5; sell b c13 100x1; sell c c13 100x1; sell d c13 k8 "
                           "100x1; sell e c2 100x3; =a -:VE:0:15:1; =c; =e; =saldo13 27"));
        // By line (amount goes off), by article, card needed, no cap; line 30 added.
        guarda([](TfConfig &f) {
            QCOMPARE(f.vPuntos->text(), QStringLiteral("3"));
            QVERIFY(f.mDetalle->locate(QStringLiteral("Id"), 2));
            f.rbPtolinea->click();
            f.vPuntosArtActivo->setChecked(true);
            f.ckTarjeta->setChecked(true);
            f.vNoVentas->clear();
            f.chkBoleto->setChecked(false);
            f.mlineaspuntos->appendRecord({30, 5, QVariant::fromValue(fb::Decimal::fromInt(10))});
        });
        juega(
            QStringLiteral("sell f c1 d1 100x1 105x2; sell g c14 d1 100x1; =saldo1 107; =g;"
                           "=[SELECT COUNT(*) FROM LAR_PUNTOS WHERE CLIENTE_ID = 1 AND TIPO_DOCTO "
                           "= 'L'] 2; =[SELECT VALOR FROM LAR_REGISTRO WHERE NOMBRE = 'No. de "
                           "vtas'] 0"));
        // Under by-line points the ticket flag can't be off; the lines were replaced.
        QCOMPARE(valor(QStringLiteral("UsarArtBoleto")), QStringLiteral("S"));
        QCOMPARE(valor(QStringLiteral("Puntos Importe Activo")), QStringLiteral("N"));
        QCOMPARE(m_emp->valor(QStringLiteral("SELECT COUNT(*) FROM LAR_PUNTOSLINEAS")).toInt(), 3);
    }

    void guardadoFallidoNoPierdeLasLineas()
    {
        const QString lineas = QStringLiteral(
            "SELECT LIST(L, ' ') FROM (SELECT LINEA_ID || ':' || PUNTOS || ':' || IMPORTE L FROM "
            "LAR_PUNTOSLINEAS ORDER BY LINEA_ID)");
        const QString antes = m_emp->valor(lineas).toString();
        m_emp->ejecuta(QStringLiteral("CREATE EXCEPTION E_PRUEBA_LINEAS 'linea rechazada'"));
        m_emp->ejecuta(QStringLiteral("CREATE TRIGGER TR_PRUEBA_LINEAS FOR LAR_PUNTOSLINEAS BEFORE "
                                      "INSERT AS BEGIN IF (NEW.LINEA_ID = 10) THEN EXCEPTION "
                                      "E_PRUEBA_LINEAS; END"));
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre();
        f->vFolioPuntos->setText(QStringLiteral("L1"));
        f->chkReinicio->setChecked(false);
        f->chkBoleto->setChecked(false);
        f->rbPtolinea->setChecked(true);
        f->mlineaspuntos->appendRecord({35, 1, QVariant::fromValue(fb::Decimal::fromInt(20))});
        f->bSave->click();
        m_emp->ejecuta(QStringLiteral("DROP TRIGGER TR_PRUEBA_LINEAS"));
        QCOMPARE(guion.textos().size(), 1);
        QVERIFY2(guion.textos()[0].startsWith(
                     QStringLiteral("No fue posible guardar la configuración: "))
                     && guion.textos()[0].contains(QStringLiteral("linea rechazada")),
                 qPrintable(guion.textos()[0]));
        QVERIFY(f->isVisible());
        // The old lines stay: the deletion went back with the failed insert.
        QCOMPARE(m_emp->valor(lineas).toString(), antes);
        f->bSave->click();
        QVERIFY(!f->isVisible());
        QCOMPARE(m_emp->valor(lineas).toString(), antes + QStringLiteral(" 35:1:20"));
    }
};

LAR_TEST_MAIN(TstConfig)
#include "tst_catalog_config.moc"
