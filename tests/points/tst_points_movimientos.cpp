// Manual points movement through the real form: several customers in one save,
// withdrawals capped at the balance, the checks before a save, the folio series.

#include "libro.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "points/asignapuntos.h"
#include "points/asignapuntos_forma.h"
#include "shared/flista.h"
#include "support/accesibilidad.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <memory>

using namespace lar;
using namespace Qt::StringLiterals;
using lartest::GuionMensajes;

class TstMovimientos : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_env;
    Sesion m_s;

    void ejecuta(const QString &sql) { lartest::ejecuta(m_s.fbDatabase(), sql); }
    QStringList filas(const QString &sql) { return lartest::filas(m_s.fbDatabase(), sql); }

    // The rows of one folio: customer|NATURALEZA|VALOR_PUNTOS|PARTIDA, in PARTIDA order.
    QStringList movimiento(const QString &folio)
    {
        return filas(u"SELECT cliente_id, naturaleza, valor_puntos, partida FROM lar_puntos "
                     "WHERE folio = '%1' ORDER BY partida"_s.arg(folio));
    }

    int saldo(int cliente) { return lartest::saldo(m_s.fbDatabase(), cliente); }

    QString folioPuntos() { return LeeRegistro(m_s, u"Folio Puntos"_s); }

    // Opens the picker with the button of txtCliente and ticks the customers given.
    void elige(TfAsignaPuntos &f, const QList<int> &ids)
    {
        bool corrio = false;
        QTimer::singleShot(0, [&] {
            auto *l = qobject_cast<TFListaCh *>(QApplication::activeModalWidget());
            if (!l)
                return;
            corrio = true;
            MemTable &t = f.clientes();
            for (t.first(); !t.eof(); t.next()) {
                if (ids.contains(t[u"id"_s].asInteger())) {
                    t.edit();
                    t[u"Activo"_s] = true;
                    t.post();
                }
            }
            l->Aceptar->click();
        });
        f.bClientes->click();
        QVERIFY(corrio);
    }

    QStringList detalle(TfAsignaPuntos &f)
    {
        QStringList out;
        MemTable &d = f.detalle();
        for (d.first(); !d.eof(); d.next())
            out << u"%1:%2"_s.arg(d[u"NomCliente"_s].asString()).arg(d[u"Puntos"_s].asInteger());
        return out;
    }

private slots:
    void initTestCase()
    {
        m_env = std::make_unique<lartest::EntornoPrueba>();
        m_env->instalaExtension();
        m_env->conectaSesion(m_s);
        // 1 has 50; 2 never had a row; 3 is negative (-15); 4 has 8 and a cancelled
        // redemption that doesn't count; 5 is inactive and never offered.
        const QStringList nombres{u"ANA"_s, u"BETO"_s, u"CARMEN"_s, u"DAVID"_s, u"EVA"_s};
        for (int c = 1; c <= 5; ++c)
            ejecuta(u"INSERT INTO CLIENTES (CLIENTE_ID, NOMBRE, ESTATUS) VALUES (%1, '%2', '%3')"_s
                        .arg(c)
                        .arg(nombres[c - 1], c == 5 ? u"B"_s : u"A"_s));
        lartest::asiento(m_s.fbDatabase(), 1, u"VE"_s, 50);
        lartest::asiento(m_s.fbDatabase(), 3, u"VE"_s, 10);
        lartest::asiento(m_s.fbDatabase(), 3, u"VS"_s, 25);
        lartest::asiento(m_s.fbDatabase(), 4, u"VE"_s, 8);
        lartest::asiento(m_s.fbDatabase(), 4, u"XS"_s, 5);
        GuardaRegistro(m_s, u"Folio Puntos"_s, u"A00000005"_s);
        m_s.Permisos[TfAsignaPuntos::kTag] = 2;
    }

    // One save writes a row for every customer of the grid on one folio; a withdrawal
    // takes at most the balance shown, so a negative balance comes back up to 0.
    void retiroYAgregadoAVariosClientes()
    {
        TfAsignaPuntos f(m_s);
        f.show();
        LAR_VERIFICA_ACCESIBLE(&f);
        QVERIFY(f.bSavee->isEnabled());
        elige(f, {1, 2, 3, 4});
        QCOMPARE(f.lblNoCtes->text(), u"4"_s);
        QCOMPARE(detalle(f),
                 (QStringList{u"ANA:50"_s, u"BETO:0"_s, u"CARMEN:-15"_s, u"DAVID:8"_s}));

        GuionMensajes guion;
        f.vMovto->setCurrentIndex(1); // "Quitar puntos"
        f.vPuntos->setText(u"20"_s);
        f.bSavee->click();
        QCOMPARE(guion.textos(), QStringList{u"El movimiento se ha generado correctamente."_s});
        QCOMPARE(guion.cajas().at(0).titulo, u"Aviso del sistema"_s);
        QCOMPARE(movimiento(u"A00000005"_s),
                 (QStringList{u"1|S|20|1"_s, u"2|S|0|2"_s, u"3|S|-15|3"_s, u"4|S|8|4"_s}));
        QCOMPARE(filas(u"SELECT DISTINCT tipo_docto, sistema, docto_id, articulo_id, unidades "
                       "FROM lar_puntos WHERE folio = 'A00000005'"_s),
                 QStringList{u"A|AP|0|0|0"_s});
        QCOMPARE(folioPuntos(), u"A00000006"_s);
        // bSavee keeps the choice and shows the new balances: the same movement again
        // is a second movement, on the next folio.
        QCOMPARE(detalle(f), (QStringList{u"ANA:30"_s, u"BETO:0"_s, u"CARMEN:0"_s, u"DAVID:0"_s}));
        f.bSavee->click();
        QCOMPARE(movimiento(u"A00000006"_s),
                 (QStringList{u"1|S|20|1"_s, u"2|S|0|2"_s, u"3|S|0|3"_s, u"4|S|0|4"_s}));
        QCOMPARE(saldo(1), 10);
        QCOMPARE(saldo(3), 0);

        // An addition gives every customer the whole number; bSaveNew starts afresh.
        guion.limpia();
        f.vMovto->setCurrentIndex(0);
        f.vPuntos->setText(u"7"_s);
        f.bSaveNew->click();
        QCOMPARE(guion.textos().size(), 1);
        QCOMPARE(movimiento(u"A00000007"_s),
                 (QStringList{u"1|E|7|1"_s, u"2|E|7|2"_s, u"3|E|7|3"_s, u"4|E|7|4"_s}));
        QCOMPARE(f.detalle().recordCount(), 0);
        QCOMPARE(f.vMovto->currentIndex(), -1);
        QVERIFY(f.vPuntos->text().isEmpty());
        QVERIFY(f.lblNoCtes->text().isEmpty());
        MemTable &c = f.clientes();
        for (c.first(); !c.eof(); c.next())
            QVERIFY(!c[u"Activo"_s].asBoolean());
        QVERIFY(f.isVisible());
        QCOMPARE(f.bEdit->isChecked(), true);
    }

    // The checks come in order and stop the save; what passes them may still write
    // nothing ("00" writes rows of 0 points, no customers writes nothing and says
    // nothing); a number that isn't one fails whole.
    void comprobacionesAntesDeGuardar()
    {
        TfAsignaPuntos f(m_s);
        f.show();
        GuionMensajes guion;
        const QString antes = folioPuntos();
        const QStringList total = filas(u"SELECT COUNT(*) FROM lar_puntos"_s);

        f.vPuntos->setText(u"5"_s);
        f.bSaveClose->click();
        QCOMPARE(guion.textos(), QStringList{u"Es necesario seleccionar un tipo de movimiento."_s});
        for (const QString &p : {u""_s, u"  "_s, u"0"_s}) {
            guion.limpia();
            f.vMovto->setCurrentIndex(0);
            f.vPuntos->setText(p);
            f.bSaveClose->click();
            QCOMPARE(guion.textos(),
                     QStringList{u"Es necesario especificar un número de puntos válido"_s});
            QCOMPARE(guion.cajas().at(0).icono(), int(mb::IconInformation));
        }

        // No customer: nothing written, nothing said, the form stays.
        guion.limpia();
        f.vPuntos->setText(u"5"_s);
        f.bSaveClose->click();
        QVERIFY(guion.textos().isEmpty());
        QVERIFY(f.isVisible());
        QCOMPARE(filas(u"SELECT COUNT(*) FROM lar_puntos"_s), total);

        // Not a number: the error box, no row, the folio kept.
        elige(f, {2});
        f.vPuntos->setText(u"diez"_s);
        f.bSaveClose->click();
        QCOMPARE(guion.cajas().size(), 1);
        QCOMPARE(guion.cajas().at(0).titulo, u"Error"_s);
        QCOMPARE(filas(u"SELECT COUNT(*) FROM lar_puntos"_s), total);
        QCOMPARE(folioPuntos(), antes);

        // "00" is not "0": a row of 0 points, and bSaveClose closes.
        guion.limpia();
        f.vPuntos->setText(u"00"_s);
        f.bSaveClose->click();
        QCOMPARE(guion.textos(), QStringList{u"El movimiento se ha generado correctamente."_s});
        QCOMPARE(movimiento(antes), QStringList{u"2|E|0|1"_s});
        QVERIFY(!f.isVisible());
        QCOMPARE(f.result(), int(QDialog::Accepted));
    }

    // bNew asks first; without bit 2 of the rights the save commands do nothing.
    void nuevoYDerechos()
    {
        {
            TfAsignaPuntos f(m_s);
            f.show();
            elige(f, {1});
            GuionMensajes guion;
            guion.responde({mb::IdNo});
            f.bNew->click();
            QCOMPARE(guion.textos(), QStringList{u"¿Desea iniciar un movimiento nuevo?"_s});
            const CajaMensaje &caja = guion.cajas().at(0);
            QCOMPARE(caja.titulo, u"Nuevo"_s);
            QCOMPARE(caja.botones(), int(mb::YesNo));
            QCOMPARE(caja.predeterminado(), 2);
            QCOMPARE(f.detalle().recordCount(), 1);
            guion.responde({mb::IdYes});
            f.bNew->click();
            QCOMPARE(f.detalle().recordCount(), 0);
        }
        m_s.Permisos[TfAsignaPuntos::kTag] = 1 | 4;
        TfAsignaPuntos f(m_s);
        m_s.Permisos[TfAsignaPuntos::kTag] = 2;
        for (QPushButton *b : {f.bNew, f.bSavee, f.bSaveClose, f.bSaveNew})
            QVERIFY(!b->isEnabled());
        QVERIFY(f.bEdit->isEnabled());
    }

    // A folio some row already carries, of whatever kind, is stepped over; once
    // stepped, the folio is written in its short form.
    void folioOcupadoSeSalta()
    {
        GuardaRegistro(m_s, u"Folio Puntos"_s, u"B1"_s);
        ejecuta(u"INSERT INTO LAR_PUNTOS (LAR_PUNTOS_ID, CLIENTE_ID, TIPO_DOCTO, NATURALEZA, "
                "VALOR_PUNTOS, SISTEMA, FOLIO) VALUES (GEN_ID(GEN_LAR_PUNTOS, 1), 1, 'S', 'S', 0, "
                "'P', 'B00000001')"_s);
        MovimientoPuntos m(m_s);
        QVERIFY(m.ExisteFolio(u"B1"_s));
        const MovimientoPuntos::Resultado r
            = m.GuardaMovimiento(true, u"3"_s, m.CargaSaldos({1, 4, 99}));
        QVERIFY2(r.ok, qPrintable(r.error));
        QCOMPARE(r.folio, u"B2"_s);
        QCOMPARE(movimiento(u"B2"_s), (QStringList{u"1|E|3|1"_s, u"4|E|3|2"_s}));
        QCOMPARE(folioPuntos(), u"B00000003"_s);
    }
};

LAR_TEST_MAIN(TstMovimientos)
#include "tst_points_movimientos.moc"
