// The pickers driven as a user would, offscreen: typing, keys, clicks, the
// multi-choice popup, and MuestraLista on the stand-in Microsip.

#include "core/sesion.h"
#include "fb/query.h"
#include "shared/flista.h"
#include "shared/listas.h"
#include "support/consultas.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/radiogroup.h"
#include "toolkit/wordsearch.h"

#include "support/accesibilidad.h"
#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>

#include <QTimer>

using namespace Qt::StringLiterals;

using lar::FieldType;
using lar::MemTable;

namespace {

// Runs `accion` on the picker once it is up, then closes it if it still is.
template<class Llamada>
int conLista(const std::function<void(lar::TFLista &)> &accion,
             Llamada llamada,
             bool *corrio = nullptr)
{
    QTimer::singleShot(0, [=] {
        auto *f = qobject_cast<lar::TFLista *>(QApplication::activeModalWidget());
        if (!f)
            return;
        if (corrio)
            *corrio = true;
        accion(*f);
        if (f->isVisible())
            f->reject();
    });
    return llamada();
}

// The customer list of the screens: id, clave, nombre, LimCredito; Filtered.
void clientes(MemTable &t, int relleno = 0)
{
    t.addField(u"id"_s, FieldType::Integer);
    t.addField(u"clave"_s, FieldType::String, 300);
    t.addField(u"nombre"_s, FieldType::String, 200);
    t.addField(u"LimCredito"_s, FieldType::Currency, 2);
    t.open();
    t.appendRecord({1, u"C-001^ALT7"_s, u"ANA PÉREZ"_s, 100});
    t.appendRecord({2, u"C-002"_s, u"JUAN ANAYA"_s, 0});
    t.appendRecord({3, u"C-003"_s, u"MARIA ANANA"_s, 0});
    for (int i = 0; i < relleno; ++i)
        t.appendRecord({100 + i, u"R-%1"_s.arg(i), u"RELLENO %1"_s.arg(i, 3, 10, QChar(u'0')), 0});
    t.setFiltered(true);
}

const QStringList kColsClientes{u"clave,,&Clave,100"_s, u"nombre,,&Nombre,500"_s};

// MuestraListaDS over t, with the customers' columns unless others are set.
int muestraDS(MemTable &t,
              const std::function<void(lar::TFLista &)> &accion,
              bool *corrio = nullptr)
{
    if (lar::ListaCols.isEmpty())
        lar::ListaCols = kColsClientes;
    return conLista(
        accion, [&] { return lar::MuestraListaDS(t, u"x"_s); }, corrio);
}

} // namespace

class TestFLista : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<lartest::EntornoPrueba> m_env;
    lar::Sesion m_sesion;

private slots:
    void init()
    {
        lar::ListaCols.clear();
        lar::ListaBusquedaIni = -1;
        lar::ListaValor1 = u"antes1"_s;
        lar::ListaValor2 = u"antes2"_s;
    }

    void typingFiltersAndAccepting()
    {
        MemTable t;
        clientes(t);
        t.first();
        lar::ListaCols = kColsClientes;
        bool corrio = false;
        const int r = conLista(
            [&](lar::TFLista &f) {
                QCOMPARE(f.windowTitle(), u"Listado de clientes"_s);
                LAR_VERIFICA_ACCESIBLE(&f);
                QCOMPARE(f.Busqueda->items(), (QStringList{u"&Clave"_s, u"&Nombre"_s}));
                QCOMPARE(f.Busqueda->itemIndex(), 1); // two items: the second
                QCOMPARE(f.CampoBusca, u"nombre"_s);
                QCOMPARE(f.IdxBusca, 2);
                QCOMPARE(f.Lista->memModel()->headerData(0, Qt::Horizontal).toString(), u"Clave"_s);
                // 100 + 1 + 500 + 1 + 45, centred on the screen.
                const QRect pantalla = f.screen()->geometry();
                QCOMPARE(f.width(), std::min(647, pantalla.width()));
                QCOMPARE(f.x(), pantalla.left() + pantalla.width() / 2 - f.width() / 2);
                QCOMPARE(t.indexFieldNames(), u"nombre"_s);
                QVERIFY(f.Aceptar->isEnabled());

                QTest::keyClicks(f.Busca, u"an an"_s);
                QCOMPARE(t.recordCount(), 2); // JUAN ANAYA, MARIA ANANA: AN twice
                QCOMPARE(f.pintor()->words(), (QStringList{u"AN"_s, u"AN"_s}));
                QCOMPARE(f.pintor()->field(), 2);
                // Each word is sought in what the previous one left.
                f.Busca->setText(u"ana ana"_s);
                QVERIFY(t.isEmpty());
                QVERIFY(!f.Aceptar->isEnabled());

                // Two blanks empty the list and Aceptar goes off; a double click does nothing.
                f.Busca->setText(u"ana  p"_s);
                QVERIFY(t.isEmpty());
                QVERIFY(!f.Aceptar->isEnabled());
                QTest::mouseClick(f.Lista->viewport(), Qt::LeftButton, {}, QPoint(20, 5));
                QTest::mouseDClick(f.Lista->viewport(), Qt::LeftButton, {}, QPoint(20, 5));
                QVERIFY(f.isVisible());
                f.Busca->setText(u"ana p"_s);
                QCOMPARE(t.recordCount(), 1);
                QVERIFY(f.Aceptar->isEnabled());

                // A trailing blank adds no word.
                f.Busca->setText(u"juan "_s);
                QCOMPARE(t.recordCount(), 1);
                QTest::mouseClick(f.Aceptar, Qt::LeftButton);
            },
            [&] { return lar::MuestraListaDS(t, u"Listado de clientes"_s); },
            &corrio);
        QVERIFY(corrio);
        QCOMPARE(r, 1);
        // The caller's table: on the chosen row, every row back in sight, the index kept.
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 2);
        QCOMPARE(t.recordCount(), 3);
        QVERIFY(!t.hasFilter());
        QCOMPARE(t.indexFieldNames(), u"nombre"_s);
        QCOMPARE(lar::ListaValor1, u"2"_s);
        QCOMPARE(lar::ListaValor2, u"C-002"_s);
    }

    // Cancel leaves the pair and shows every row again; a double click accepts; an
    // empty table still opens, with Aceptar off.
    void cancelDoubleClickAndEmpty()
    {
        MemTable t;
        clientes(t);
        int r = muestraDS(t, [&](lar::TFLista &f) {
            QTest::keyClicks(f.Busca, u"maria"_s);
            QTest::mouseClick(f.Cancelar, Qt::LeftButton);
        });
        QCOMPARE(r, 2);
        QCOMPARE(lar::ListaValor1, u"antes1"_s);
        QCOMPARE(lar::ListaValor2, u"antes2"_s);
        QVERIFY(!t.hasFilter());
        QCOMPARE(t.recordCount(), 3);

        r = muestraDS(t, [&](lar::TFLista &f) {
            f.Busca->setText(u"pérez"_s);
            const QRect celda = f.Lista->visualRect(f.Lista->memModel()->index(0, 1));
            // A real double click: press, release, then the second press.
            QTest::mouseClick(f.Lista->viewport(), Qt::LeftButton, {}, celda.center());
            QTest::mouseDClick(f.Lista->viewport(), Qt::LeftButton, {}, celda.center());
        });
        QCOMPARE(r, 1);
        QCOMPARE(t.fieldByName(u"id"_s).asInteger(), 1);

        t.emptyTable();
        bool corrio = false;
        muestraDS(
            t, [&](lar::TFLista &f) { QVERIFY(!f.Aceptar->isEnabled()); }, &corrio);
        QVERIFY(corrio);
    }

    void keysMoveTheRow()
    {
        MemTable t;
        clientes(t, 40);
        QList<int> filas;
        muestraDS(t, [&](lar::TFLista &f) {
            auto tecla = [&](Qt::Key k) {
                QTest::keyClick(f.Busca, k);
                filas << t.recNo();
            };
            tecla(Qt::Key_Home);
            tecla(Qt::Key_PageDown);
            tecla(Qt::Key_PageDown);
            tecla(Qt::Key_PageUp);
            tecla(Qt::Key_Down);
            tecla(Qt::Key_Up);
            tecla(Qt::Key_End);
            tecla(Qt::Key_PageDown);
            tecla(Qt::Key_Up);
            QCOMPARE(f.Lista->currentIndex().row(), t.recNo()); // the grid follows
            tecla(Qt::Key_Left);                                // stays with the box
            QCOMPARE(f.Busca->cursorPosition(), 0);
        });
        QCOMPARE(filas, (QList<int>{0, 14, 28, 14, 15, 14, 42, 42, 41, 41}));
    }

    void searchColumnChoice()
    {
        MemTable t;
        clientes(t);
        // The one-shot wins over the caller's choice and is used up.
        lar::ListaCols = kColsClientes;
        lar::ListaBusquedaIni = 0;
        conLista(
            [&](lar::TFLista &f) {
                QCOMPARE(f.Busqueda->itemIndex(), 0);
                QCOMPARE(f.CampoBusca, u"clave"_s);
                // Keys joined by '^' are found by any of them.
                QTest::keyClicks(f.Busca, u"alt"_s);
                QCOMPARE(t.recordCount(), 1);
                // Another radio item empties the box and runs the show step again.
                f.Busqueda->setItemIndex(1);
                QVERIFY(f.Busca->text().isEmpty());
                QCOMPARE(f.CampoBusca, u"nombre"_s);
                QCOMPARE(t.indexFieldNames(), u"nombre"_s);
                QCOMPARE(t.recordCount(), 3);
            },
            [&] { return lar::MuestraListaDS(t, u"x"_s, QString(), 1); });
        QCOMPARE(lar::ListaBusquedaIni, -1);

        // One searchable column: item 0. No searchable column: no box at all.
        lar::ListaCols = {u"nombre,,&Nombre,400"_s, u"id,-,Id,50"_s};
        muestraDS(t, [&](lar::TFLista &f) {
            QCOMPARE(f.Busqueda->count(), 1);
            QCOMPARE(f.Busqueda->itemIndex(), 0);
            QVERIFY(f.Busca->isVisible());
        });
        lar::ListaCols = {u"nombre,-,&Nombre,400"_s};
        muestraDS(t, [&](lar::TFLista &f) {
            QCOMPARE(f.Busqueda->count(), 0);
            QVERIFY(!f.Busca->isEnabled());
            QVERIFY(!f.Busca->isVisible());
            QVERIFY(!f.Busqueda->isVisible());
            QCOMPARE(f.width(), 401 + 45);
        });

        // An empty spec list shows nothing and is a cancel.
        lar::ListaCols.clear();
        lar::ListaBusquedaIni = 1;
        bool corrio = false;
        QCOMPARE(conLista([](lar::TFLista &) {},
                          [&] { return lar::MuestraListaDS(t, u"x"_s); },
                          &corrio),
                 2);
        QVERIFY(!corrio);
        QCOMPARE(lar::ListaBusquedaIni, -1);
        QTest::qWait(1); // let the unused timer go
    }

    void unfilteredTableSeeks()
    {
        MemTable t;
        clientes(t, 5);
        t.setFiltered(false);
        muestraDS(t, [&](lar::TFLista &f) {
            QTest::keyClicks(f.Busca, u"ma"_s);
            QCOMPARE(t.recordCount(), 8); // nothing hidden
            QCOMPARE(t.fieldByName(u"nombre"_s).asString(), u"MARIA ANANA"_s);
            QTest::keyClicks(f.Busca, u"z"_s);
            QCOMPARE(t.recNo(), 3); // the next name after "MAZ"
            f.Busca->setText(u"z"_s);
            QCOMPARE(t.recNo(), 7); // past the last name: the last row
        });
    }

    void multiChoicePopup()
    {
        MemTable t;
        t.addField(u"id"_s, FieldType::Integer);
        t.addField(u"Activo"_s, FieldType::Boolean);
        t.addField(u"Clave"_s, FieldType::String, 20);
        t.addField(u"Nombre"_s, FieldType::String, 100);
        t.open();
        t.appendRecord({1, false, u"C-1"_s, u"ANA PÉREZ"_s});
        t.appendRecord({2, false, u"C-2"_s, u"JUAN ANAYA"_s});
        t.appendRecord({3, true, u"C-3"_s, u"PEDRO GÓMEZ"_s});
        t.appendRecord({4, false, u"C-4"_s, u"ANABEL RUIZ"_s});
        t.setFiltered(true);
        auto activos = [&] {
            QList<int> ids;
            for (int i = 0; i < t.totalCount(); ++i) {
                if (t.valueOfAnyRow(i, 1).toBool())
                    ids << t.valueOfAnyRow(i, 0).toInt();
            }
            std::sort(ids.begin(), ids.end());
            return ids;
        };

        lar::ListaCols = {u"Activo,,Activo,50"_s, u"Clave,,Clave,100"_s, u"Nombre,,Nombre,300"_s};
        const int r = conLista(
            [&](lar::TFLista &base) {
                auto &f = static_cast<lar::TFListaCh &>(base);
                QVERIFY(f.cxGrid->isVisible());
                QVERIFY(!f.Lista->isVisible());
                // The first spec only names the check column.
                QCOMPARE(f.Busqueda->items(), (QStringList{u"Clave"_s, u"Nombre"_s}));
                QCOMPARE(f.CampoBusca, u"Nombre"_s);
                QCOMPARE(f.PopupMenu1->actions().size(), 3);

                QTest::keyClicks(f.Busca, u"ana"_s);
                QCOMPARE(t.recordCount(), 3); // ANA PÉREZ, ANABEL RUIZ, JUAN ANAYA
                t.setRecNo(1);
                const int id = t.fieldByName(u"id"_s).asInteger();
                f.SeleccionarTodo->trigger();
                QCOMPARE(activos(), (QList<int>{1, 2, 3, 4}));
                QCOMPARE(t.fieldByName(u"id"_s).asInteger(),
                         id); // back where it started
                f.BorrarSeleccion->trigger();
                QCOMPARE(activos(), (QList<int>{3})); // only the rows in sight
                auto *m = f.cxGrid->memModel();
                QVERIFY(m->setData(m->index(0, 0), Qt::Checked, Qt::CheckStateRole));
                f.InvertirSeleccion->trigger();
                QCOMPARE(activos().size(), 3);
                QVERIFY(!activos().contains(t.valueAt(0, 0).toInt()));
                QTest::mouseClick(f.Aceptar, Qt::LeftButton);
            },
            [&] { return lar::MuestraListaCh(t, u"Lista de clientes"_s, QString(), true); });
        QCOMPARE(r, 1);
        QVERIFY(!t.hasFilter());
        QCOMPARE(t.recordCount(), 4);
        QCOMPARE(activos().size(), 3); // the ticks stay in the caller's table

        // Without check boxes: the plain grid, columns from every spec.
        conLista(
            [&](lar::TFLista &base) {
                auto &f = static_cast<lar::TFListaCh &>(base);
                QVERIFY(!f.cxGrid->isVisible());
                QCOMPARE(f.Lista->memModel()->columnCount(), 3);
                QCOMPARE(f.Busqueda->count(), 3);
            },
            [&] { return lar::MuestraListaCh(t, u"x"_s, QString(), false); });
    }

    // --- MuestraLista on the stand-in Microsip ---------------------------------------------

    void initTestCase()
    {
        m_env = std::make_unique<lartest::EntornoPrueba>();
        m_env->conectaSesion(m_sesion);
        for (const QString &c : {u"101, 'ANA PÉREZ', 'A'"_s,
                                 u"102, 'JUAN ANAYA', 'A'"_s,
                                 u"103, 'BAJA UNO', 'B'"_s,
                                 u"104, 'ZACARÍAS NÚÑEZ', 'A'"_s,
                                 u"105, 'PATRICK O''BRIEN', 'A'"_s})
            lartest::ejecuta(m_sesion.fbDatabase(),
                             u"INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE, ESTATUS) VALUES ("_s + c
                                 + u')');
        for (
            const QString &sql :
            {u"INSERT INTO ROLES_CLAVES_CLIENTES (ROL_CLAVE_CLI_ID, NOMBRE) VALUES (9001, 'Prueba')"_s,
             u"INSERT INTO CLAVES_CLIENTES VALUES (201, 101, 'C-001', 9001)"_s,
             u"INSERT INTO CLAVES_CLIENTES VALUES (202, 101, 'ALT7', 9001)"_s})
            lartest::ejecuta(m_sesion.fbDatabase(), sql);
    }

    void muestraListaMemoryPath()
    {
        lar::ListaCols
            = {u"nombre,,&Nombre,300"_s,
               u"cliente_id,-,&Id,-1"_s,
               u"(select count(*) from claves_clientes k where k.cliente_id = c.cliente_id)"
               u" claves,--,CLAVES,50"_s};
        const int r = conLista(
            [&](lar::TFLista &f) {
                QVERIFY(!f.EnConsulta);
                MemTable *mem = f.dataSet();
                QCOMPARE(mem->recordCount(), 5);
                QCOMPARE(f.Busqueda->count(), 1);
                QCOMPARE(f.CampoBusca, u"nombre"_s);
                // The -1 column is in the select list and takes no room.
                QVERIFY(f.Campos.contains(u"cliente_id"_s));
                QVERIFY(f.Lista->isColumnHidden(1));
                QTest::keyClicks(f.Busca, u"ana"_s);
                QCOMPARE(mem->recordCount(), 2);
                QCOMPARE(f.Lista->memModel()->index(0, 0).data().toString(), u"ANA PÉREZ"_s);
                // "--" binds the column to the caption's name.
                QCOMPARE(f.Lista->memModel()->index(0, 2).data().toString(), u"2"_s);
                QTest::keyClick(f.Busca, Qt::Key_Down);
                QTest::mouseClick(f.Aceptar, Qt::LeftButton);
            },
            [&] { return lar::MuestraLista(m_sesion, u"clientes c"_s, u"Clientes"_s); });
        QCOMPARE(r, 1);
        QCOMPARE(lar::ListaValor1, u"JUAN ANAYA"_s);
        QCOMPARE(lar::ListaValor2, u"102"_s);
        QCOMPARE(lar::ListaClave, lar::ListaValor1);
        QCOMPARE(lar::ListaNombre, lar::ListaValor2);

        // Cancelled, the second pair still takes the first.
        lar::ListaValor1 = u"v1"_s;
        conLista([](lar::TFLista &f) { f.reject(); },
                 [&] { return lar::MuestraLista(m_sesion, u"clientes c"_s, u"x"_s); });
        QCOMPARE(lar::ListaClave, u"v1"_s);
    }

    void muestraListaLivePath()
    {
        lar::ListaCols = {u"cliente_id,,&Id,60"_s, u"nombre,,&Nombre,300"_s};
        const int r = conLista(
            [&](lar::TFLista &f) {
                QVERIFY(f.EnConsulta);
                QCOMPARE(f.dataSet()->recordCount(), 4);
                QCOMPARE(f.Numericos, QStringList{u"CLIENTE_ID"_s});
                QTest::keyClicks(f.Busca, u"an%ju"_s);
                QCOMPARE(f.FiltroConsulta, u"nombre LIKE '%AN%JU%' OR nombre LIKE '%JU%AN%'"_s);
                QCOMPARE(f.dataSet()->recordCount(), 4); // the query isn't filtered
                f.QueryFiltrada = true;
                // A quote typed in the box is sought, not taken for the literal's end.
                f.Busca->setText(u"o'b%k"_s);
                f.BuscaChange();
                QCOMPARE(f.dataSet()->recordCount(), 1);
                QCOMPARE(f.Lista->memModel()->index(0, 1).data().toString(), u"PATRICK O'BRIEN"_s);
                f.Busca->setText(u"an%ju"_s);
                f.BuscaChange();
                QCOMPARE(f.dataSet()->recordCount(), 1);
                QTest::mouseClick(f.Aceptar, Qt::LeftButton);
            },
            [&] {
                return lar::MuestraLista(
                    m_sesion, u"clientes"_s, u"Clientes"_s, u"estatus = 'A'"_s);
            });
        QCOMPARE(r, 1);
        QCOMPARE(lar::ListaClave, u"102"_s);
        QCOMPARE(lar::ListaNombre, u"JUAN ANAYA"_s);
    }

    void muestraListaBadField()
    {
        // A field the table lacks fails in the data layer, before anything shows.
        lar::ListaCols = {u"no_existe,,X,100"_s};
        QVERIFY_THROWS_EXCEPTION(fb::Error, lar::MuestraLista(m_sesion, u"clientes"_s, u"x"_s));
    }
};

LAR_TEST_MAIN(TestFLista)
#include "tst_flista.moc"
