#pragma once

// Runs script text through the report engine as a template does: the script's
// functions are defined in the template, and one expression element of the title
// band gives the value. The element's text, or "ERROR: " and the report's error.
#include "fb/database.h"
#include "toolkit/reporte/reporte.h"

#include <QString>
#include <QVariantHash>

namespace lartest {

inline QString correScript(const QString &expresion,
                           const QString &script = {},
                           fb::Database *db = nullptr,
                           const QVariantHash &parametros = {})
{
    const QString xml
        = QStringLiteral("<reporte formato=\"1\" nombre=\"prueba\">"
                         "<script><![CDATA[%1\nfunction __resultado() { return (%2); }]]>"
                         "</script><banda tipo=\"titulo\" alto=\"10\">"
                         "<expresion nombre=\"r\" x=\"0\" y=\"0\" ancho=\"100\" alto=\"5\">"
                         "__resultado()</expresion></banda></reporte>")
              .arg(script, expresion);
    lar::reporte::Reporte r;
    r.setBaseDatos(db);
    for (auto it = parametros.begin(); it != parametros.end(); ++it)
        r.setParametro(it.key(), it.value());
    QString error;
    if (!r.cargaTexto(xml.toUtf8(), &error) || !r.genera(&error))
        return QStringLiteral("ERROR: ") + error;
    for (const auto &h : r.documento().hojas) {
        for (const auto &p : h.primitivas) {
            if (p.elemento == u"r")
                return p.texto;
        }
    }
    return QStringLiteral("ERROR: sin resultado");
}

} // namespace lartest
