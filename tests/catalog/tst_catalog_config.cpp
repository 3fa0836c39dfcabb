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
using namespace Qt::StringLiterals;

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
            ->valor(u"SELECT VALOR FROM LAR_REGISTRO WHERE NOMBRE = '%1' AND "
                    "TIPO = 'V'"_s.arg(clave))
            .toString();
    }

    QString activo(int cliente)
    {
        return m_emp
            ->valor(u"SELECT COALESCE(ACTIVO_PUNTOS, '-') FROM LIBRES_CLIENTES "
                    "WHERE CLIENTE_ID = %1"_s.arg(cliente))
            .toString();
    }

    // Chooses the row with that id in the picker that the action opens.
    static void elige(int id, const std::function<void()> &accion)
    {
        alAparecer<TFLista>([id](TFLista *l) {
            l->dataSet()->locate(u"Id"_s, id);
            l->Aceptar->click();
        });
        accion();
    }

    static void autoriza(bool si)
    {
        alAparecer<TfAcceso>([si](TfAcceso *a) {
            a->vPass->setText(u"masterkey"_s);
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
            QCOMPARE(m.Modulo->text(), u"Configuración"_s);
            QCOMPARE(f->bEdit->isEnabled(), acceso == 3);
        }
        QuitaModulo(10);
    }

    // The rights bits of the edit command are checked through the menu, above.
    void porOmisionYSoloLectura()
    {
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre(1, false);
        QCOMPARE(f->pcConfig->currentWidget(), f->TabPuntos);
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
        QCOMPARE(f->vNoVentas->text(), u"0"_s);
        QCOMPARE(f->vPuntos->text() + f->vPesos->text() + f->vFolioPuntos->text()
                     + f->vArticulo->text(),
                 QString());
        QCOMPARE(f->vTraspConSal->currentIndex(), -1);
        QCOMPARE(f->cmbAlmacen->currentIndex(), -1);
        QCOMPARE(f->dtpReinicio->date(), QDate::currentDate());
        QCOMPARE(f->seDias->value(), 0);
        QCOMPARE(f->mlineaspuntos->recordCount(), 2);
        QCOMPARE(f->mDetalle->recordCount(), 1); // C3, off the points
        QCOMPARE(f->mDetalle->fieldByName(u"Nombre"_s).asString(), u"C3"_s);
        QCOMPARE(f->edPass->echoMode(), QLineEdit::Password);

        // Read-only, whatever the rights: a click changes nothing.
        QVERIFY(f->vPuntos->isReadOnly() && !f->vFolioPuntos->isEnabled()
                && !f->bAddArt->isEnabled());
        QTest::mouseClick(f->vPuntosActivo, Qt::LeftButton);
        QVERIFY(!f->vPuntosActivo->isChecked());
        f->close();

        // The input rules, in edit mode.
        f = abre();
        for (int i = 0; i < f->pcConfig->count(); ++i) { // every page
            f->pcConfig->setCurrentIndex(i);
            LAR_VERIFICA_ACCESIBLE(f.get());
        }
        f->pcConfig->setCurrentIndex(0);
        QVERIFY(!f->vPuntos->isReadOnly() && f->vFolioPuntos->isEnabled());
        QTest::keyClick(f->vFolioPuntos, Qt::Key_A);
        QTest::sendKeyEvent(QTest::Click, f->vFolioPuntos, Qt::Key_Ntilde, u"ñ"_s, {});
        QTest::keyClicks(f->vFolioPuntos, u"1b-c2345678"_s);
        QCOMPARE(f->vFolioPuntos->text(), u"A1BC23456"_s);
        QTest::keyClicks(f->vPuerto, u"5x87"_s);
        QCOMPARE(f->vPuerto->text(), u"587"_s);
        QTest::keyClicks(f->vCorreoRem, u"ventas@tienda.mx"_s);
        QCOMPARE(f->vCorreoRem->text(), u" ventas@tienda.mx"_s);
        // Closing without saving writes nothing, and asks nothing.
        f->close();
        QCOMPARE(valor(u"Folio Puntos"_s), QString());
        QCOMPARE(guion.cajas().size(), 0);
    }

    void alternativasYEmpleados()
    {
        GuionMensajes guion;
        m_emp->ejecuta(u"DELETE FROM LAR_PUNTOSLINEAS"_s);
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
        QCOMPARE(guion.textos(), QStringList{u"La empresa no tiene empleados registrados."_s});
        QCOMPARE(guion.cajas()[0].titulo, u"Aviso del sistema"_s);
        QVERIFY(f->RBListaClientes->isChecked() && !f->RBListaEmpleados->isChecked());
        m_emp->ejecuta(u"INSERT INTO EMPLEADOS (EMPLEADO_ID, NUMERO, NOMBRE_COMPLETO) "
                       "VALUES (1, 1, 'E1')"_s);
        f->RBListaEmpleados->click();
        QVERIFY(f->RBListaEmpleados->isChecked() && !f->RBListaClientes->isChecked());
        QCOMPARE(guion.cajas().size(), 1);
        m_emp->ejecuta(u"INSERT INTO LAR_PUNTOSLINEAS VALUES (10, 2, 100)"_s);
        m_emp->ejecuta(u"INSERT INTO LAR_PUNTOSLINEAS VALUES (20, 1, 50)"_s);
    }

    void listaNegraAgregaAlGuardarQuitaAlMomento()
    {
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre();
        elige(2, [&] { f->bAddArt->click(); });
        elige(3, [&] { f->bAddArt->click(); });
        QCOMPARE(guion.textos(), QStringList{u"El cliente ya está en la lista"_s});
        QCOMPARE(f->mDetalle->recordCount(), 2);
        QVERIFY(f->mDetalle->locate(u"Id"_s, 3));
        guion.limpia();
        guion.responde({mb::IdNo, mb::IdYes});
        f->bDelArt->click();
        QCOMPARE(activo(3), u"N"_s);
        f->bDelArt->click();
        QCOMPARE(guion.textos(), QStringList(2, u"¿Desea eliminar el cliente C3 ?"_s));
        QCOMPARE(guion.cajas()[1].titulo, u"Eliminar"_s);
        QCOMPARE(guion.cajas()[1].predeterminado(), 2);
        QCOMPARE(activo(3), u"S"_s); // written at once
        // Added, then removed before any save: nothing to write either.
        QVERIFY(f->mDetalle->locate(u"Id"_s, 2));
        guion.responde({mb::IdYes});
        f->bDelArt->click();
        QVERIFY(f->mDetalle->isEmpty());
        elige(2, [&] { f->bAddArt->click(); });
        f->close(); // without saving
        m_s.reset();
        QCOMPARE(activo(3), u"S"_s);
        QCOMPARE(
            m_emp->valor(u"SELECT COUNT(*) FROM LIBRES_CLIENTES WHERE CLIENTE_ID = 2"_s).toInt(),
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
            auto *c = g->findChild<QComboBox *>(u"edLinea"_s);
            QVERIFY(c);
            c->setCurrentIndex(c->findText(nombre));
            QTest::keyClick(c, Qt::Key_Return);
        };
        eligeLinea(u"L10"_s);
        QTRY_COMPARE(guion.textos(), QStringList{u"La linea ya esta agregada a la lista."_s});
        QCOMPARE(f->mlineaspuntos->recordCount(), 2);
        QCOMPARE(g->currentIndex().column(), 0);
        QTest::keyClick(g, Qt::Key_Right);
        QCOMPARE(g->currentIndex().column(), 1);
        f->agregaLinea();
        eligeLinea(u"L30"_s);
        QTRY_COMPARE(f->mlineaspuntos->valueOfAnyRow(2, 0).toInt(), 30);
        QCOMPARE(guion.cajas().size(), 1);
        QTest::keyClick(g, Qt::Key_Delete, Qt::ControlModifier);
        QCOMPARE(f->mlineaspuntos->recordCount(), 2);
    }

    void reinicioManualYProgramado()
    {
        GuionMensajes guion;
        for (int c : {1, 11, 12})
            m_emp->ejecuta(u"INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, "
                           "TIPO_DOCTO, NATURALEZA, VALOR_PUNTOS) VALUES "
                           "(GEN_ID(GEN_LAR_PUNTOS, 1), %1, 'A', 'E', %1)"_s.arg(c));
        std::unique_ptr<TfConfig> f = abre(3, false);
        GuardaRegistro(*m_s, u"Folio Puntos"_s, u"R00000005"_s);
        QVERIFY(!f->btnReiniciar->isEnabled());
        f->bEdit->click();
        f->ckReinicia->click();
        QVERIFY(f->btnReiniciar->isEnabled());
        const QString filas = u"SELECT COUNT(*) FROM LAR_PUNTOS WHERE TIPO_DOCTO = 'S'"_s;
        f->btnReiniciar->click(); // No, the default
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(guion.cajas()[0].texto,
                 u"¿Desea reiniciar los puntos?, esta acción no podrá ser revertida."_s);
        QCOMPARE(guion.cajas()[0].titulo, u"Reinicio de puntos"_s);
        QCOMPARE(guion.cajas()[0].flags & 0xFFF, mb::YesNo | mb::IconQuestion | mb::DefButton2);
        for (const bool admin : {false, true}) { // the administrator's login: refused, given
            guion.responde({mb::IdYes});
            autoriza(admin);
            f->btnReiniciar->click();
            QCOMPARE(m_emp->valor(filas).toInt(), admin ? 3 : 0);
        }
        QCOMPARE(guion.cajas().size(), 3); // no message after the reset
        QCOMPARE(m_emp->saldo(11), 0);
        QCOMPARE(f->vFolioPuntos->text(), u"R6"_s);

        // The scheduled reset asks too, and unticks itself without the administrator.
        guion.limpia();
        f->chkReinicio->click();
        QVERIFY(!f->chkReinicio->isChecked());
        for (const bool admin : {false, true}) {
            guion.responde({mb::IdYes});
            autoriza(admin);
            f->chkReinicio->click();
            QCOMPARE(f->chkReinicio->isChecked(), admin);
        }
        QCOMPARE(guion.textos(),
                 QStringList(3,
                             u"¿Desea reiniciar los puntos en la fecha "
                             "seleccionada?, esta acción no podrá ser revertida."_s));
    }

    void validacionEnOrdenYGuardado()
    {
        // Print forms in Microsip's report store: two of the tickets, one of transfers.
        {
            fb::Database config;
            m_emp->entorno().conectaConfig(config);
            fb::Transaction tr(&config);
            fb::Query q(&config, &tr);
            const QString carpeta
                = u"(SELECT F.FOLDER_ID FROM RB_FOLDER F JOIN RB_FOLDER P ON P.FOLDER_ID = "
                  "F.PARENT_ID JOIN RB_FOLDER L ON L.FOLDER_ID = P.PARENT_ID WHERE F.NAME = "
                  "'Formas' AND P.NAME = '%1' AND L.NAME = 'LarvenosPV' AND L.PARENT_ID = 0)"_s;
            const QList<QPair<QString, QString>> formas{{u"Puntos"_s, u"Boleto grande"_s},
                                                        {u"Puntos"_s, u"Boleto chico"_s},
                                                        {u"Traspasos"_s, u"Traspaso"_s}};
            int id = 9100;
            for (const auto &[donde, nombre] : formas) {
                q.setSql(u"INSERT INTO RB_ITEM (ITEM_ID, FOLDER_ID, NAME) VALUES "
                         "(%1, %2, '%3')"_s.arg(++id)
                             .arg(carpeta.arg(donde), nombre));
                q.execute();
            }
            tr.commit();
        }
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre();
        QCOMPARE(f->vListaFormas->count(), 2);
        QCOMPARE(f->vListaFormas->item(0)->text(), u"Boleto chico"_s);
        QVERIFY(!f->vListaFormas->currentItem());
        f->vListaFormas->setCurrentRow(1);
        f->vFolioPuntos->setText(u"A0"_s);
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
             u"Indique un folio correcto para los puntos, debe ser una letra y un numero."_s},
            {[&] { f->vFolioPuntos->setText(u"A1"_s); },
             f->vPuntos,
             u"Favor de indicar un puntaje válido."_s},
            {[&] { f->vPuntos->setText(u"2"_s); },
             f->vPesos,
             u"Los días seleccionados no son válidos."_s},
            {[&] { f->vPesos->setText(u"99.50001"_s); },
             f->vCorreoRem,
             u"Favor de indicar un correo válido."_s},
            {[&] { f->vCorreoRem->setText(u" a@b.mx"_s); },
             f->edPass,
             u"Favor de indicar una contraseña."_s},
            {[&] { f->edPass->setText(u"x"_s); }, f->vHost, u"Favor de indicar un Servidor."_s},
            {[&] { f->vHost->setText(u"smtp.b.mx"_s); },
             f->vPuerto,
             u"Favor de indicar un Puerto."_s},
            // Days 0: the mail isn't asked for any more.
            {[&] {
                 f->vCorreoRem->clear();
                 f->seDias->setValue(0);
             },
             f->seDias,
             u"Favor de indicar un puntaje válido."_s},
            {[&] {
                 f->seDias->setValue(3);
                 f->vCorreoRem->setText(u" a@b.mx"_s);
                 f->vPuerto->setText(u"587"_s);
             },
             f->vArticulo,
             u"Favor de indicar un Artículo para boleto."_s},
        };
        for (int i = 0; i < pasos.size(); ++i) {
            guion.limpia();
            pasos[i].antes();
            f->pcConfig->setCurrentWidget(i == 3 ? f->TabOtros : f->TabPuntos);
            f->bSave->click();
            QVERIFY2(f->isVisible(), qPrintable(QString::number(i + 1)));
            QCOMPARE(guion.textos(), QStringList{pasos[i].texto});
            QCOMPARE(guion.cajas()[0].titulo, i == 0 ? u"Aviso del sistema"_s : u"Aviso"_s);
            QCOMPARE(guion.cajas()[0].flags & 0xFFF, mb::Ok | mb::IconInformation);
            QCOMPARE(f->pcConfig->currentWidget(), i == 8 ? f->TabOtros : f->TabPuntos);
            QVERIFY2(enfocado(*f, pasos[i].control), qPrintable(pasos[i].control->objectName()));
        }
        elige(105, [&] { f->bArticulo->click(); });
        QCOMPARE(f->vArticulo->text(), u"A5"_s);
        guion.limpia();
        f->bSave->click();
        QCOMPARE(guion.textos(), QStringList());
        QVERIFY(!f->isVisible());
        const QList<QPair<QString, QString>> guardado{
            {u"Folio Puntos"_s, u"A00000001"_s},
            {u"Factor Total Importe Puntos"_s, u"2"_s},
            {u"Factor Cantidad Pesos"_s, u"99.5"_s},
            {u"Puntos Importe Activo"_s, u"S"_s},
            {u"Puntos Importe Linea"_s, u"N"_s},
            {u"No. de vtas"_s, u"0"_s},
            {u"Folio puntos empleados"_s, u"000000000"_s},
            {u"Dias antes del reinicio para enviar correo"_s, u"3"_s},
            {u"Fecha establecida para el reinicio"_s,
             QDate::currentDate().toString(u"dd/MM/yyyy"_s)},
            {u"CorreoRem"_s, u" a@b.mx"_s},
            {u"UsarArtBoleto"_s, u"S"_s},
            {u"ArtBoleto"_s, u"105"_s},
            {u"Lista por empleados"_s, u"N"_s},
            {u"FormaBoleto"_s, u"Boleto grande"_s}};
        for (const auto &[clave, esperado] : guardado)
            QCOMPARE(valor(clave), esperado);
        f = abre(3, false);
        QVERIFY(f->vListaFormas->currentItem());
        QCOMPARE(f->vListaFormas->currentItem()->text(), u"Boleto grande"_s);
        QCOMPARE(f->vArticulo->text(), u"A5"_s);
        QCOMPARE(f->vPesos->text(), u"99.5"_s);
    }

    void reglasGuardadasRigenLasVentas()
    {
        auto guarda = [&](const std::function<void(TfConfig &)> &cambios) {
            GuionMensajes guion;
            {
                std::unique_ptr<TfConfig> f = abre();
                f->vFolioPuntos->setText(u"P1"_s);
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
            f.vPuntos->setText(u"3"_s);
            f.vPesos->setText(u"50"_s);
            f.vNoVentas->setText(u"2"_s);
            elige(2, [&] { f.bAddArt->click(); });
        });
        juega(u"sell a c13 100x2.5; sell b c13 100x1; sell c c13 100x1; sell d c13 k8 "
              "100x1; sell e c2 100x3; =a -:VE:0:15:1; =c; =e; =saldo13 27"_s);
        // By line (amount goes off), by article, card needed, no cap; line 30 added.
        guarda([](TfConfig &f) {
            QCOMPARE(f.vPuntos->text(), u"3"_s);
            QVERIFY(f.mDetalle->locate(u"Id"_s, 2));
            f.rbPtolinea->click();
            f.vPuntosArtActivo->setChecked(true);
            f.ckTarjeta->setChecked(true);
            f.vNoVentas->clear();
            f.chkBoleto->setChecked(false);
            f.mlineaspuntos->appendRecord({30, 5, QVariant::fromValue(fb::Decimal::fromInt(10))});
        });
        juega(u"sell f c1 d1 100x1 105x2; sell g c14 d1 100x1; =saldo1 107; =g;=[SELECT COUNT(*) "
              "FROM LAR_PUNTOS WHERE CLIENTE_ID = 1 AND TIPO_DOCTO = 'L'] 2; =[SELECT VALOR FROM "
              "LAR_REGISTRO WHERE NOMBRE = 'No. de vtas'] 0"_s);
        // Under by-line points the ticket flag can't be off; the lines were replaced.
        QCOMPARE(valor(u"UsarArtBoleto"_s), u"S"_s);
        QCOMPARE(valor(u"Puntos Importe Activo"_s), u"N"_s);
        QCOMPARE(m_emp->valor(u"SELECT COUNT(*) FROM LAR_PUNTOSLINEAS"_s).toInt(), 3);
    }

    void guardadoFallidoNoPierdeLasLineas()
    {
        const QString lineas = u"SELECT LIST(L, ' ') FROM (SELECT LINEA_ID || ':' || PUNTOS || ':' "
                               u"|| IMPORTE L FROM LAR_PUNTOSLINEAS ORDER BY LINEA_ID)"_s;
        const QString antes = m_emp->valor(lineas).toString();
        m_emp->ejecuta(u"CREATE EXCEPTION E_PRUEBA_LINEAS 'linea rechazada'"_s);
        m_emp->ejecuta(u"CREATE TRIGGER TR_PRUEBA_LINEAS FOR LAR_PUNTOSLINEAS BEFORE INSERT AS "
                       "BEGIN IF (NEW.LINEA_ID = 10) THEN EXCEPTION E_PRUEBA_LINEAS; END"_s);
        GuionMensajes guion;
        std::unique_ptr<TfConfig> f = abre();
        f->vFolioPuntos->setText(u"L1"_s);
        f->chkReinicio->setChecked(false);
        f->chkBoleto->setChecked(false);
        f->rbPtolinea->setChecked(true);
        f->mlineaspuntos->appendRecord({35, 1, QVariant::fromValue(fb::Decimal::fromInt(20))});
        f->bSave->click();
        m_emp->ejecuta(u"DROP TRIGGER TR_PRUEBA_LINEAS"_s);
        QCOMPARE(guion.textos().size(), 1);
        QVERIFY2(guion.textos()[0].startsWith(u"No fue posible guardar la configuración: "_s)
                     && guion.textos()[0].contains(u"linea rechazada"_s),
                 qPrintable(guion.textos()[0]));
        QVERIFY(f->isVisible());
        // The old lines stay: the deletion went back with the failed insert.
        QCOMPARE(m_emp->valor(lineas).toString(), antes);
        f->bSave->click();
        QVERIFY(!f->isVisible());
        QCOMPARE(m_emp->valor(lineas).toString(), antes + u" 35:1:20"_s);
    }
};

LAR_TEST_MAIN(TstConfig)
#include "tst_catalog_config.moc"
