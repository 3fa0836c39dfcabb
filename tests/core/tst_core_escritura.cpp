// One write path: domain routines keep their own cursors (a caller's open cursor
// survives them), a silenced table speaks again whatever happens inside, and the
// message boxes take typed flags with the classic values.

#include "core/ids.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "db/actualizadb.h"
#include "support/entornoprueba.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"

#include <QSignalSpy>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace lar;

class TstEscritura : public QObject
{
    Q_OBJECT

    std::unique_ptr<lartest::EntornoPrueba> m_e;

private slots:
    void initTestCase()
    {
        m_e = std::make_unique<lartest::EntornoPrueba>();
        ActualizaEmpresa(m_e->rutaEmpresa(), m_e->entorno().rutaConfig(), m_e->parametros());
    }

    // A screen walks rows on the main window's work query and, for each, takes an
    // id, a folio, a setting and the object tests: its cursor is still there after
    // each. (Creating a missing generator commits fbUpdateTrans by design.)
    void cursorDelLlamador()
    {
        Sesion s;
        m_e->conectaSesion(s);
        s.TransInicia();
        fb::Query &q = s.Query();
        q.setSql(u"select rdb$relation_id from rdb$relations order by 1 rows 4"_s);
        int filas = 0;
        int anterior = -1;
        for (q.open(); !q.eof(); q.next()) {
            QVERIFY(q.field(0).toInt() > anterior);
            anterior = q.field(0).toInt();
            ++filas;
            QVERIFY(GetNextID(s, u"PUNTOS"_s, 1) > 0);
            QVERIFY(GetNextFolioDoc(s, true) > 0);
            QVERIFY(ExisteTabla(s, u"LAR_PUNTOS"_s));
            QVERIFY(ExisteCampo(s, u"LAR_PUNTOS"_s, u"FOLIO"_s));
            QVERIFY(!ExisteProcedimiento(s, u"NO_EXISTE_%1"_s.arg(filas)));
            QCOMPARE(LeeRegistro(s, u"Escritura %1"_s.arg(filas)), QString());
            QVERIFY(q.isOpen());
        }
        QCOMPARE(filas, 4);
        s.UpdateCommit();
    }

    void bloqueoControles()
    {
        MemTable t;
        t.addField(u"id"_s, FieldType::Integer);
        t.open();
        QSignalSpy datos(&t, &MemTable::dataChanged);
        try {
            BloqueoControles fuera(t);
            {
                BloqueoControles dentro(t);
                t.appendRecord({1});
            }
            QVERIFY(t.controlsDisabled()); // the outer one still holds
            t.appendRecord({2});
            throw std::runtime_error("a mitad de la carga");
        } catch (const std::runtime_error &) {
        }
        QVERIFY(!t.controlsDisabled());
        QCOMPARE(t.recordCount(), 2);
        datos.clear();
        t.appendRecord({3});
        QVERIFY(!datos.isEmpty());
    }

    // Written as the screens write them: the box gets the classic values.
    void banderasDeMensajes()
    {
        lartest::GuionMensajes guion;
        const mb::Respuesta r = MensajeSistema(
            u"¿Seguro?"_s, u"Aviso"_s, mb::YesNo | mb::IconQuestion | mb::DefButton2);
        QCOMPARE(r, mb::IdNo); // the default button
        QCOMPARE(guion.cajas()[0].flags.toInt(), 292 | 4096);
    }
};

LAR_TEST_MAIN(TstEscritura)
#include "tst_core_escritura.moc"
