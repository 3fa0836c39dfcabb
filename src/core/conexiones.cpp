#include "conexiones.h"

#include "carpetas.h"

#include <QFile>
#include <QSaveFile>
#include <QTextStream>

#ifdef Q_OS_WIN
#include <QSettings>
#endif

#include <stdexcept>

namespace lar {

QString PathConexion(const QString &servidor, const QString &directorio, bool protocoloUno)
{
    if (protocoloUno)
        return QStringLiteral("\\\\") + servidor + u'\\' + directorio;
    if (!servidor.isEmpty())
        return servidor + u':' + directorio;
    return directorio;
}

QString NombreNodoUsuario(const QString &usuarioWindows)
{
    QString n = usuarioWindows;
    for (const QChar c : {u'á', u'é', u'í', u'ó', u'ú'})
        n.replace(c, u'_');
    return n;
}

QString RutaXmlComun()
{
    return CarpetaComun() + QStringLiteral("/Microsip/ProgramData.xml");
}

QString RutaXmlUsuario()
{
    return CarpetaLocal() + QStringLiteral("/Microsip/ProgramData.xml");
}

void CargaXml(QDomDocument &doc, const QString &ruta)
{
    QFile f(ruta);
    if (!f.open(QIODevice::ReadOnly))
        throw std::runtime_error(QStringLiteral("No se puede abrir el archivo \"%1\": %2")
                                     .arg(ruta, f.errorString())
                                     .toStdString());
    QString error;
    int linea = 0;
    int columna = 0;
    if (!doc.setContent(&f, &error, &linea, &columna))
        throw std::runtime_error(QStringLiteral("%1 (%2, línea %3, columna %4)")
                                     .arg(error, ruta)
                                     .arg(linea)
                                     .arg(columna)
                                     .toStdString());
}

void GuardaXml(const QDomDocument &doc, const QString &ruta)
{
    QSaveFile f(ruta);
    if (!f.open(QIODevice::WriteOnly))
        throw std::runtime_error(QStringLiteral("No se puede escribir \"%1\": %2")
                                     .arg(ruta, f.errorString())
                                     .toStdString());
    QTextStream out(&f);
    doc.save(out, 2);
    out.flush();
    if (!f.commit())
        throw std::runtime_error(QStringLiteral("No se puede escribir \"%1\": %2")
                                     .arg(ruta, f.errorString())
                                     .toStdString());
}

namespace {

QDomElement camino(QDomElement nodo, std::initializer_list<QString> nombres)
{
    for (const QString &n : nombres) {
        if (nodo.isNull())
            break;
        nodo = nodo.firstChildElement(n);
    }
    return nodo;
}

} // namespace

QList<Conexion> LeeConexionesXml(const QDomDocument &comun)
{
    QList<Conexion> lista;
    QDomElement raiz = comun.documentElement();
    if (raiz.tagName() != u"ProgramData")
        return lista;
    const QDomElement conexiones = camino(raiz,
                                          {QStringLiteral("LocalMachine"),
                                           QStringLiteral("Software"),
                                           QStringLiteral("Microsip"),
                                           QStringLiteral("Conexiones")});
    if (conexiones.isNull())
        return lista;
    for (QDomElement c = conexiones.firstChildElement(); !c.isNull(); c = c.nextSiblingElement()) {
        const QDomElement dir = c.firstChildElement(QStringLiteral("Directorio_de_datos"));
        if (dir.isNull())
            continue;
        const QDomElement protocolo = c.firstChildElement(QStringLiteral("Protocolo"));
        const bool uno = !protocolo.isNull() && protocolo.text() == u"1";
        lista.append(
            {c.tagName(),
             PathConexion(TextoNodo(c, QStringLiteral("Nombre_del_servidor")), dir.text(), uno)});
    }
    return lista;
}

QDomElement NodoBarraXml(const QDomDocument &usuario, const QString &usuarioWindows)
{
    QDomElement raiz = usuario.documentElement();
    if (raiz.tagName() != u"ProgramData")
        return {};
    return camino(raiz,
                  {QStringLiteral("CurrentUser"),
                   NombreNodoUsuario(usuarioWindows),
                   QStringLiteral("Software"),
                   QStringLiteral("Microsip"),
                   QStringLiteral("Barra_Microsip")});
}

QString TextoNodo(const QDomElement &padre, const QString &nombre)
{
    const QDomElement e = padre.firstChildElement(nombre);
    return e.isNull() ? QString() : e.text();
}

void FijaNodo(QDomElement padre, const QString &nombre, const QString &valor)
{
    QDomElement e = padre.firstChildElement(nombre);
    if (e.isNull()) {
        e = padre.ownerDocument().createElement(nombre);
        padre.appendChild(e);
    }
    while (!e.firstChild().isNull())
        e.removeChild(e.firstChild());
    e.appendChild(padre.ownerDocument().createTextNode(valor));
}

#ifdef Q_OS_WIN

namespace {

const QString kBarra = QStringLiteral("HKEY_CURRENT_USER\\Software\\Microsip\\Barra Microsip");
const QString kConexiones = QStringLiteral("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsip\\Conexiones");

} // namespace

QList<Conexion> LeeConexionesRegistro()
{
    QList<Conexion> lista;
    QSettings raiz(kConexiones, QSettings::Registry32Format);
    const QStringList nombres = raiz.childGroups();
    for (const QString &nombre : nombres) {
        QSettings perfil(kConexiones + u'\\' + nombre, QSettings::Registry32Format);
        if (perfil.status() != QSettings::NoError || perfil.allKeys().isEmpty()) {
            lista.append({nombre, QString(), false});
            continue;
        }
        const QString servidor = perfil.value(QStringLiteral("Nombre del servidor")).toString();
        const QString dir = perfil.value(QStringLiteral("Directorio de datos")).toString();
        const bool uno = perfil.value(QStringLiteral("Protocolo")).toInt() == 1;
        lista.append({nombre, PathConexion(servidor, dir, uno)});
    }
    return lista;
}

void LeeUltimosRegistro(QString &usuario, QString &conexion)
{
    QSettings barra(kBarra, QSettings::Registry32Format);
    usuario = barra.value(QStringLiteral("Usuario")).toString();
    conexion = barra.value(QStringLiteral("Conexión")).toString();
}

void GuardaUltimosRegistro(const QString &usuario, const QString &conexion)
{
    // Written only where Microsip created the key.
    QSettings padre(QStringLiteral("HKEY_CURRENT_USER\\Software\\Microsip"),
                    QSettings::Registry32Format);
    if (!padre.childGroups().contains(QStringLiteral("Barra Microsip")))
        return;
    QSettings barra(kBarra, QSettings::Registry32Format);
    barra.setValue(QStringLiteral("Usuario"), usuario);
    barra.setValue(QStringLiteral("Conexión"), conexion);
}

#endif

} // namespace lar
