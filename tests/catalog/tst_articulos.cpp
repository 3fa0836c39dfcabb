// The articles with points: the list as module and as chooser, search, bulk
// assignment, save of the rows in sight and its failures, on a real company.

#include "articulosprueba.h"
#include "catalog/addarticulos.h"
#include "catalog/articulos_lista.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/database.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"

#include "support/accesibilidad.h"
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

using namespace lar;

using namespace lartest;
using namespace Qt::StringLiterals;

class TstArticulos : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;
    Sesion m_s;

    void alternas(bool si)
    {
        GuardaRegistro(m_s, u"Buscar en claves alternas de artículos"_s, si ? u"S"_s : u"N"_s);
    }

    void restaura()
    {
        for (const Art &a : articulos())
            ejecuta(m_s,
                    u"UPDATE LIBRES_ARTICULOS SET PUNTOS = %1, VALOR_PUNTOS = %2"
                    " WHERE ARTICULO_ID = %3"_s.arg(a.puntos)
                        .arg(a.valor)
                        .arg(a.id));
    }

private slots:
    void initTestCase()
    {
        m_env = std::make_unique<lartest::EntornoPrueba>();
        m_env->instalaExtension();
        m_env->conectaSesion(m_s);
        siembraArticulos(m_s);
    }

    void init() { restaura(); }

    // Nothing loads on its own; the list opens on "Solo activos"; the key column
    // holds the principal key, or every key joined by '^' with the setting.
    void cargaYFiltro()
    {
        alternas(false);
        Tfcat_articulos_lista f(m_s);
        QCOMPARE(f.tabla().recordCount(), 0);
        LAR_VERIFICA_ACCESIBLE(&f);
        {
            TfAddArticulos agrega(m_s);
            LAR_VERIFICA_ACCESIBLE(&agrega);
        }
        f.Button1Click();
        QCOMPARE(
            nombres(f.tabla()),
            (QStringList{
                u"ANILLO DE PLATA"_s, u"BANANA TABASCO"_s, u"CORTE DE PELO"_s, u"LÁPIZ AZUL"_s}));
        const int r = fila(f.tabla(), 501);
        QCOMPARE(f.tabla().valueAt(r, art::CLAVE_ARTICULO).toString(), u"ABC"_s);
        QCOMPARE(f.tabla().valueAt(r, art::LINEA).toString(), u"Frutas"_s);
        QCOMPARE(f.tabla().valueAt(r, art::GRUPO).toString(), u"Frutas y papelería"_s);
        QCOMPARE(num(f.tabla(), r, art::PUNTOS), 1.0);
        QCOMPARE(num(f.tabla(), r, art::VALOR_PUNTOS), 10.0);

        QComboBox combo;
        combo.addItems(f.Filtros);
        combo.setCurrentIndex(0);
        f.DoFiltroChange(&combo);
        QCOMPARE(f.tabla().recordCount(), 6);
        combo.setCurrentIndex(3); // Solo suspensión de ventas
        f.DoFiltroChange(&combo);
        QCOMPARE(nombres(f.tabla()), QStringList{u"SUSPENDIDO EN VENTAS"_s});

        alternas(true);
        f.Button1Click();
        combo.setCurrentIndex(1);
        f.DoFiltroChange(&combo);
        const QStringList claves
            = f.tabla().valueAt(fila(f.tabla(), 501), art::CLAVE_ARTICULO).toString().split(u'^');
        QCOMPARE(QSet<QString>(claves.begin(), claves.end()), (QSet<QString>{u"ABC"_s, u"XYZ"_s}));
    }

    // Words on the name and the line; on joined keys, any single key, as written.
    void busqueda()
    {
        alternas(true);
        Tfcat_articulos_lista f(m_s);
        f.Button1Click();
        f.vBusca->setText(u"an an"_s);
        QCOMPARE(nombres(f.tabla()), (QStringList{u"BANANA TABASCO"_s}));
        f.vBusca->setText(u"ana ana"_s);
        QCOMPARE(f.tabla().recordCount(), 0);
        f.vBusca->setText(u"de"_s);
        QCOMPARE(f.tabla().recordCount(), 2);
        f.vBusca->setText(u"de  pelo"_s);
        QCOMPARE(f.tabla().recordCount(), 0);

        f.rLinea->click();
        QVERIFY(f.vBusca->text().isEmpty());
        f.vBusca->setText(u"papel"_s);
        QCOMPARE(nombres(f.tabla()), QStringList{u"LÁPIZ AZUL"_s});

        f.rClave->click();
        f.vBusca->setText(u"xyz"_s);
        QCOMPARE(nombres(f.tabla()), QStringList{u"BANANA TABASCO"_s});
        const QString claves = f.tabla().valueAt(0, art::CLAVE_ARTICULO).toString();
        QCOMPARE(f.textoClave(claves), u"XYZ"_s);
        QCOMPARE(f.claveElegida(), u"XYZ"_s);
        // Words matching across two keys find nothing.
        f.vBusca->setText(u"ABCXYZ"_s);
        QCOMPARE(f.tabla().recordCount(), 0);
        // Keys are not upper-cased: a lower-case key is out of reach.
        f.vBusca->setText(u"lap"_s);
        QCOMPARE(f.tabla().recordCount(), 0);
        f.vBusca->clear();
        QCOMPARE(f.textoClave(claves), claves.section(u'^', 0, 0));

        // Esc empties the box.
        f.vBusca->setText(u"ABC"_s);
        QTest::keyClick(f.vBusca, Qt::Key_Escape);
        QVERIFY(f.vBusca->text().isEmpty());
    }

    // Save writes the rows in sight only, nulls as 0, after a Yes.
    void guardaLoQueSeVe()
    {
        alternas(false);
        lartest::GuionMensajes guion;
        Tfcat_articulos_lista f(m_s);
        f.Acceso = 1 | 2 | 4;
        f.show();
        QVERIFY(f.bGuardar->isVisible());
        f.Button1Click();
        f.vBusca->setText(u"ANILLO"_s);
        QCOMPARE(f.tabla().recordCount(), 1);
        f.tabla().setValueAt(0, art::PUNTOS, 7);
        f.tabla().setValueAt(0, art::VALOR_PUNTOS, QVariant());

        guion.responde({mb::IdNo});
        f.bGuardar->click();
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(guion.cajas()[0].texto, u"¿Desea guardar los cambios?"_s);
        QCOMPARE(guion.cajas()[0].titulo, u"Guardar"_s);
        QCOMPARE(guion.cajas()[0].predeterminado(), 2);
        QCOMPARE(puntosGuardados(m_s, 502), qMakePair(2, 50));

        guion.responde({mb::IdYes});
        f.bGuardar->click();
        QCOMPARE(guion.cajas().size(), 2);
        QCOMPARE(puntosGuardados(m_s, 502), qMakePair(7, 0));
        // The rows the search hid keep what they had.
        QCOMPARE(puntosGuardados(m_s, 501), qMakePair(1, 10));
        QCOMPARE(puntosGuardados(m_s, 503), qMakePair(3, 20));
    }

    // Bulk assignment: the rows in sight, only with the right for that column.
    void asignacion()
    {
        alternas(false);
        lartest::GuionMensajes guion;
        Tfcat_articulos_lista f(m_s);
        f.Acceso = 1 | 2; // points, not value
        f.show();
        QVERIFY(f.cxGrid->memModel()->column(Tfcat_articulos_lista::colPuntos).editable);
        QVERIFY(!f.cxGrid->memModel()->column(Tfcat_articulos_lista::colValor).editable);
        f.Button1Click();
        f.vBusca->setText(u"DE"_s);
        QCOMPARE(f.tabla().recordCount(), 2);

        f.BitBtn5->click(); // blank box: nothing
        f.vAplica->setText(u"9"_s);
        f.rValor->setChecked(true);
        f.BitBtn5->click(); // no right for the value: nothing
        f.rPuntos->setChecked(true);
        f.BitBtn5->click();
        QVERIFY(guion.cajas().isEmpty());
        for (int r = 0; r < f.tabla().recordCount(); ++r) {
            QCOMPARE(num(f.tabla(), r, art::PUNTOS), 9.0);
            QVERIFY(num(f.tabla(), r, art::VALOR_PUNTOS) != 9.0);
        }
        f.vBusca->clear();
        QCOMPARE(num(f.tabla(), fila(f.tabla(), 501), art::PUNTOS), 1.0);

        // Ctrl with the keypad's plus and minus on a focused points cell.
        const int r = fila(f.tabla(), 501);
        f.cxGrid->setCurrentIndex(f.cxGrid->model()->index(r, Tfcat_articulos_lista::colPuntos));
        QTest::keyClick(f.cxGrid, Qt::Key_Plus, Qt::ControlModifier | Qt::KeypadModifier);
        QTest::keyClick(f.cxGrid, Qt::Key_Plus, Qt::ControlModifier | Qt::KeypadModifier);
        QTest::keyClick(f.cxGrid, Qt::Key_Minus, Qt::ControlModifier | Qt::KeypadModifier);
        QCOMPARE(num(f.tabla(), r, art::PUNTOS), 2.0);

        // Neither right: no save button, and the assignment does nothing.
        Tfcat_articulos_lista g(m_s);
        g.Acceso = 1;
        g.show();
        QVERIFY(!g.bGuardar->isVisible());
        g.Button1Click();
        g.vAplica->setText(u"4"_s);
        g.BitBtn5->click();
        QCOMPARE(num(g.tabla(), fila(g.tabla(), 501), art::PUNTOS), 1.0);
    }

    // The redemption's chooser: what the points pay for, in stock, by the warehouse.
    void selectorCanje()
    {
        alternas(true);
        Tfcat_articulos_lista f(m_s);
        QList<QPair<int, QString>> recibidos;
        f.ConfiguraCanje(431, 20, [&](int id, const QString &clave, double cantidad) {
            recibidos.append({id, clave});
            return cantidad == 1.0;
        });
        QVERIFY(f.Panel2->isHidden());
        QVERIFY(f.SoloPorPuntos);
        QVERIFY(!f.chkExist->isHidden() && f.chkExist->isChecked());
        QVERIFY(!f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colExistencia));
        QVERIFY(!f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colValor));
        for (int c : {Tfcat_articulos_lista::colPuntos,
                      Tfcat_articulos_lista::colAlmacenable,
                      Tfcat_articulos_lista::colJuego,
                      Tfcat_articulos_lista::colEstatus})
            QVERIFY(f.cxGrid->isColumnHidden(c));
        QVERIFY(!f.bCancelar->isHidden() && !f.bAdd->isHidden() && f.bGuardar->isHidden());

        // 20 points: BANANA (10, stock 5). Not ANILLO (50), not LÁPIZ (value 0),
        // not CORTE (in sight only without stock rule: not storable, stock 0).
        f.Button1Click();
        QCOMPARE(nombres(f.tabla()), QStringList{u"BANANA TABASCO"_s});
        QCOMPARE(f.tabla().valueAt(0, art::Existencia).toDouble(), 5.0);
        // A load lays the columns out again: the chooser's stay as it set them.
        QVERIFY(f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colPuntos));
        QVERIFY(!f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colExistencia));
        f.chkExist->setChecked(false);
        f.Button1Click();
        QCOMPARE(nombres(f.tabla()), (QStringList{u"BANANA TABASCO"_s, u"CORTE DE PELO"_s}));

        // bAdd passes the key in use and closes the chooser.
        f.rClave->click();
        f.vBusca->setText(u"XYZ"_s);
        f.bAdd->click();
        QCOMPARE(recibidos, (QList<QPair<int, QString>>{{501, u"XYZ"_s}}));
        QCOMPARE(f.result(), 1);
        // Searching another column passes no key.
        f.rNombre->click();
        f.vBusca->setText(u"BANANA"_s);
        f.bAdd->click();
        QCOMPARE(recibidos.last(), qMakePair(501, QString()));
    }

    // The activity's chooser: not storable articles, Puntos in sight, double click adds.
    void selectorActividad()
    {
        alternas(false);
        Tfcat_articulos_lista f(m_s);
        int recibido = 0;
        f.ConfiguraActividad(100, [&](int id, const QString &, double) {
            recibido = id;
            return false;
        });
        QVERIFY(f.chkExist->isHidden() && !f.chkExist->isChecked());
        QVERIFY(f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colExistencia));
        QVERIFY(f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colValor));
        QVERIFY(!f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colPuntos));
        QVERIFY(f.bCancelar->isHidden());
        f.Button1Click();
        QCOMPARE(nombres(f.tabla()), QStringList{u"CORTE DE PELO"_s});
        QVERIFY(f.cxGrid->isColumnHidden(Tfcat_articulos_lista::colValor));
        f.show();
        const QModelIndex i = f.cxGrid->model()->index(0, Tfcat_articulos_lista::colNombre);
        QTest::mouseClick(
            f.cxGrid->viewport(), Qt::LeftButton, {}, f.cxGrid->visualRect(i).center());
        QTest::mouseDClick(
            f.cxGrid->viewport(), Qt::LeftButton, {}, f.cxGrid->visualRect(i).center());
        QCOMPARE(recibido, 503);
        QVERIFY(f.isVisible()); // the receiver said no: the chooser stays
    }

    // AgregaArt by key; an unknown key says so and adds nothing.
    void agregaArt()
    {
        lartest::GuionMensajes guion;
        Tfcat_articulos_lista f(m_s);
        QVERIFY(f.AgregaArt(u"XYZ"_s, 0, 30, 3));
        QCOMPARE(f.tabla().recordCount(), 1);
        QCOMPARE(f.tabla().valueAt(0, art::ARTICULO_ID).toInt(), 501);
        QCOMPARE(num(f.tabla(), 0, art::VALOR_PUNTOS), 30.0);
        QVERIFY(!f.AgregaArt(u"NO-EXISTE"_s, 0, 1, 1));
        QCOMPARE(guion.textos(), QStringList{u"No fue posible encontrar el artículo"_s});
        QCOMPARE(f.tabla().recordCount(), 1);
    }

    // A foreign key failure rolls the whole save back and keeps the figures.
    void guardaFallaLlaveForanea()
    {
        lartest::GuionMensajes guion;
        Tfcat_articulos_lista f(m_s);
        f.Acceso = 7;
        QVERIFY(f.AgregaArt(QString(), 502, 33, 44));
        f.tabla().appendRecord({999999, u"FANTASMA"_s, u"FANTASMA"_s, u"S"_s, u"N"_s, u"A"_s});
        guion.responde({mb::IdYes});
        f.bGuardarClick();
        QCOMPARE(guion.cajas().size(), 2);
        QCOMPARE(guion.cajas()[1].titulo, u"Error de datos"_s);
        QCOMPARE(guion.cajas()[1].icono(), mb::IconStop);
        QVERIFY(guion.cajas()[1].texto.startsWith(
            u"No fue posible encontrar un valor en los catálogos: \r\n"_s));
        QCOMPARE(puntosGuardados(m_s, 502), qMakePair(2, 50));
        QCOMPARE(f.tabla().recordCount(), 2);
        QVERIFY(f.pAvisa->isHidden() && f.Panel2->isEnabled());
    }

    // Another station holds the row: the engine's code decides the words, and the
    // user's figures stay for a second save.
    void conflictoEntreEstaciones()
    {
        if (!lartest::serverAvailable())
            QSKIP("needs the local test server (scripts/fbserver start)");
        lartest::OpcionesPrueba op;
        op.servidor = true;
        lartest::EntornoPrueba env(op);
        env.instalaExtension();
        Sesion s;
        env.conectaSesion(s);
        siembraArticulos(s);

        fb::Database otra;
        env.conectaEmpresa(otra);
        fb::Transaction tOtra(&otra);
        fb::Query qOtra(&otra, &tOtra);
        qOtra.setSql(u"UPDATE LIBRES_ARTICULOS SET PUNTOS = 99 WHERE ARTICULO_ID = 502"_s);
        qOtra.execute();

        lartest::GuionMensajes guion;
        Tfcat_articulos_lista f(s);
        f.Acceso = 7;
        f.show();
        f.Button1Click();
        f.vBusca->setText(u"ANILLO"_s);
        f.tabla().setValueAt(0, art::PUNTOS, 12);
        guion.responde({mb::IdYes});
        f.bGuardar->click();
        QCOMPARE(guion.cajas().size(), 2);
        QCOMPARE(guion.cajas()[1].titulo, u"Error de datos"_s);
        QVERIFY2(guion.cajas()[1].texto.startsWith(
                     u"Bloqueo de datos, vuelva a guardar en un momento\r\n"_s),
                 qPrintable(guion.cajas()[1].texto));
        QCOMPARE(num(f.tabla(), 0, art::PUNTOS), 12.0);
        QVERIFY(f.bGuardar->isEnabled() && f.vBusca->isEnabled());

        tOtra.rollback();
        guion.responde({mb::IdYes});
        f.bGuardar->click();
        QCOMPARE(guion.cajas().size(), 3);
        QCOMPARE(puntosGuardados(s, 502), qMakePair(12, 50));
        s.desconecta();
    }
};

LAR_TEST_MAIN(TstArticulos)
#include "tst_articulos.moc"
