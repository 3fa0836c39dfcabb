#include "formas.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "toolkit/reporte/reporte.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace lar {

int AseguraFolder(Sesion &s, const QString &nombre, int padre)
{
    return AseguraFolder(s.fbConfig(), nombre, padre);
}

int AseguraFolder(fb::Database &config, const QString &nombre, int padre)
{
    fb::Transaction tr(&config);
    fb::TransactionGuard guardia(tr);
    fb::Query q(&config, &tr);
    auto busca = [&]() {
        q.clearSql();
        q.addSql(QStringLiteral("SELECT folder_id"));
        q.addSql(QStringLiteral("FROM rb_folder"));
        q.addSql(QStringLiteral("WHERE name = :name and parent_id = :parent_id"));
        q.bind(QStringLiteral("name"), nombre);
        q.bind(QStringLiteral("parent_id"), padre);
        q.open();
        const int id = q.eof() ? 0 : q.field(0).toInt();
        q.close();
        return id;
    };
    int id = busca();
    if (id == 0) {
        q.clearSql();
        q.addSql(QStringLiteral("INSERT INTO rb_folder"));
        q.addSql(QStringLiteral("(name, parent_id)"));
        q.addSql(QStringLiteral("VALUES (:name, :parent_id)"));
        q.bind(QStringLiteral("name"), nombre);
        q.bind(QStringLiteral("parent_id"), padre);
        q.execute();
        id = busca();
    }
    guardia.commit();
    return id;
}

int FolderFormas(Sesion &s)
{
    fb::Transaction tr(&s.fbConfig());
    fb::Query q(&s.fbConfig(), &tr);
    for (const char16_t *linea : {u"select folder_id",
                                  u"from rb_folder",
                                  u"where name='Formas'",
                                  u"  and parent_id =",
                                  u"  (select folder_id",
                                  u"  from rb_folder",
                                  u"  where name='Puntos'",
                                  u"    and parent_id =",
                                  u"      (select folder_id",
                                  u"      from rb_folder",
                                  u"      where name='LarvenosPV'",
                                  u"        and parent_id=0))"})
        q.addSql(QString::fromUtf16(linea));
    q.open();
    const int id = q.eof() ? 0 : q.field(0).toInt();
    q.close();
    tr.commit();
    return id;
}

QStringList ListaFormas(Sesion &s, int folderId)
{
    QStringList nombres;
    fb::Transaction tr(&s.fbConfig());
    fb::Query q(&s.fbConfig(), &tr);
    q.addSql(QStringLiteral("select name"));
    q.addSql(QStringLiteral("from rb_item"));
    q.addSql(QStringLiteral("where folder_id=:id"));
    q.addSql(QStringLiteral("order by 1"));
    q.bind(QStringLiteral("id"), folderId);
    for (q.open(); !q.eof(); q.next())
        nombres << q.field(0).toTrimmed();
    q.close();
    tr.commit();
    return nombres;
}

void ReemplazaParametros(reporte::Plantilla &plantilla, int doctoId)
{
    const QString digitos = QString::number(doctoId);
    for (reporte::TextoSql *t : plantilla.textosSql()) {
        const QStringList nombres = t->parametros();
        for (const QString &n : nombres) {
            const QString marca = u':' + n;
            for (qsizetype i = t->sql.indexOf(marca); i >= 0; i = t->sql.indexOf(marca)) {
                t->sql.remove(i, marca.size());
                t->sql.insert(i, digitos);
            }
        }
    }
}

bool CargaPlantilla(Sesion &s,
                    reporte::Reporte &reporte,
                    int folderId,
                    const QString &nombre,
                    int doctoId,
                    const QString &documento,
                    QString *error)
{
    QByteArray texto;
    bool hallada = false;
    try {
        // A fresh transaction each time, so an edit of the form saved meanwhile shows.
        fb::Transaction tr(&s.fbConfig());
        fb::Query q(&s.fbConfig(), &tr);
        q.addSql(QStringLiteral("SELECT ITEM_ID, FOLDER_ID, NAME, ITEM_SIZE,"));
        q.addSql(QStringLiteral("       ITEM_TYPE, MODIFIED, DELETED, TEMPLATE"));
        q.addSql(QStringLiteral("FROM RB_ITEM "));
        q.addSql(QStringLiteral("WHERE FOLDER_ID=:FOLDER_ID"));
        q.bind(QStringLiteral("FOLDER_ID"), folderId);
        for (q.open(); !q.eof() && !hallada; q.next()) {
            if (q.field(QStringLiteral("NAME")).toTrimmed() == nombre) {
                texto = q.field(QStringLiteral("TEMPLATE")).toBytes();
                hallada = true;
            }
        }
        q.close();
        tr.commit();
    } catch (const fb::Error &e) {
        if (error)
            *error = e.message();
        return false;
    }
    if (!hallada) {
        if (error)
            *error = QStringLiteral("No existe la forma \"%1\".").arg(nombre);
        return false;
    }
    if (!reporte.cargaTexto(texto, error))
        return false;
    reporte.setBaseDatos(&s.fbDatabase());
    ReemplazaParametros(reporte.plantilla(), doctoId);
    reporte.setNombreDocumento(documento);
    return true;
}

QString FormaRecordada(Sesion &s, const QString &carpeta, const QString &subcarpeta)
{
    QString valor;
    Registro(s, subcarpeta, s.UsuarioActual, carpeta, true, valor, QStringLiteral("Forma"));
    return valor;
}

void RecuerdaForma(Sesion &s,
                   const QString &carpeta,
                   const QString &subcarpeta,
                   const QString &forma)
{
    QString valor = forma;
    Registro(s, subcarpeta, s.UsuarioActual, carpeta, false, valor, QStringLiteral("Forma"));
}

void GuardaForma(fb::Database &config,
                 int folderId,
                 const QString &nombre,
                 const QByteArray &plantilla)
{
    fb::Transaction tr(&config);
    fb::TransactionGuard guardia(tr);
    fb::Query q(&config, &tr);
    q.addSql(QStringLiteral("DELETE FROM RB_ITEM WHERE FOLDER_ID = :FOLDER_ID AND NAME = :NAME"));
    q.bind(QStringLiteral("FOLDER_ID"), folderId);
    q.bind(QStringLiteral("NAME"), nombre);
    q.execute();
    q.clearSql();
    q.addSql(QStringLiteral("INSERT INTO RB_ITEM (FOLDER_ID, NAME, ITEM_SIZE, ITEM_TYPE, MODIFIED, "
                            "DELETED, TEMPLATE)"));
    q.addSql(QStringLiteral("VALUES (:FOLDER_ID, :NAME, :ITEM_SIZE, 1, :MODIFIED, 0, :TEMPLATE)"));
    q.bind(QStringLiteral("FOLDER_ID"), folderId);
    q.bind(QStringLiteral("NAME"), nombre);
    q.bind(QStringLiteral("ITEM_SIZE"), int(plantilla.size()));
    // Delphi's date: days since 30 December 1899.
    const QDateTime base(QDate(1899, 12, 30), QTime(0, 0));
    q.bind(QStringLiteral("MODIFIED"), base.msecsTo(QDateTime::currentDateTime()) / 86400000.0);
    q.bind(QStringLiteral("TEMPLATE"), plantilla);
    q.execute();
    guardia.commit();
}

QList<std::pair<QString, QByteArray>> LeeFormas(fb::Database &config, int folderId)
{
    QList<std::pair<QString, QByteArray>> formas;
    fb::Transaction tr(&config);
    fb::Query q(&config, &tr);
    q.setSql(QStringLiteral(
        "SELECT NAME, TEMPLATE FROM RB_ITEM WHERE FOLDER_ID = :FOLDER_ID ORDER BY NAME"));
    q.bind(QStringLiteral("FOLDER_ID"), folderId);
    for (q.open(); !q.eof(); q.next())
        formas.append({q.field(0).toTrimmed(), q.field(1).toBytes()});
    q.close();
    tr.commit();
    return formas;
}

QList<std::pair<QString, QByteArray>> FormasMuestra()
{
    QList<std::pair<QString, QByteArray>> formas;
    const QDir dir(QStringLiteral(":/formas"));
    for (const QFileInfo &f :
         dir.entryInfoList({QStringLiteral("*.xml")}, QDir::Files, QDir::Name)) {
        QFile archivo(f.filePath());
        if (archivo.open(QIODevice::ReadOnly))
            formas.append({f.completeBaseName(), archivo.readAll()});
    }
    return formas;
}

int InstalaFormasMuestra(fb::Database &config)
{
    const int raiz = AseguraFolder(config, QStringLiteral("LarvenosPV"), 0);
    const int formas = AseguraFolder(
        config, QStringLiteral("Formas"), AseguraFolder(config, QStringLiteral("Puntos"), raiz));
    for (const auto &[nombre, plantilla] : FormasMuestra())
        GuardaForma(config, formas, nombre, plantilla);
    return formas;
}

} // namespace lar
