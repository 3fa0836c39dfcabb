#include "impresoras.h"

#include <cups/cups.h>

#include <array>
#include <memory>

namespace lar {

namespace {

struct Razon
{
    const char *nombre;
    quint32 bit;
};

// IPP and CUPS printer-state-reasons, without their severity suffix.
constexpr std::array<Razon, 32> Razones{{
    {"paused", ei::Pausada},
    {"moving-to-paused", ei::Pausada},
    {"other", ei::Error},
    {"cups-missing-filter", ei::Error},
    {"cups-insecure-filter", ei::Error},
    {"deleting", ei::PendienteBorrar},
    {"media-jam", ei::PapelAtorado},
    {"media-empty", ei::SinPapel},
    {"media-needed", ei::SinPapel},
    {"input-manual-input-request", ei::AlimentacionManual},
    {"media-low", ei::ProblemaPapel},
    {"input-tray-missing", ei::ProblemaPapel},
    {"media-misfeed", ei::ProblemaPapel},
    {"offline", ei::Apagada},
    {"shutdown", ei::Apagada},
    {"timed-out", ei::Apagada},
    {"connecting-to-device", ei::EsActivada},
    {"output-area-full", ei::BandejaLlena},
    {"output-area-almost-full", ei::BandejaLlena},
    {"cups-waiting-for-job-completed", ei::Esperando},
    {"cups-remote-pending", ei::Esperando},
    {"fuser-under-temperature", ei::Calentandose},
    {"toner-low", ei::TonerBajo},
    {"marker-supply-low", ei::TonerBajo},
    {"toner-empty", ei::SinToner},
    {"marker-supply-empty", ei::SinToner},
    {"spool-area-full", ei::SinMemoria},
    {"door-open", ei::PuertaAbierta},
    {"cover-open", ei::PuertaAbierta},
    {"interlock-open", ei::PuertaAbierta},
    {"power-save", ei::AhorroEnergia},
    {"sleep", ei::AhorroEnergia},
}};

const std::array<const char *, 25> &textos()
{
    static const std::array<const char *, 25> t{"Pausada",
                                                "Error",
                                                "Pendiente borrar",
                                                "Papel atorado",
                                                "Sin papel",
                                                "Alimentación manual",
                                                "Problema con el papel",
                                                "Apagada",
                                                "E/S Activada",
                                                "Ocupada",
                                                "Imprimiendo",
                                                "Bandeja llena",
                                                "No disponible",
                                                "Esperando",
                                                "Procesando",
                                                "Inicializando",
                                                "Calentandose",
                                                "Toner bajo",
                                                "Sin toner",
                                                "Liberación de hoja",
                                                "Se requiere que el usuario intervenga",
                                                "Sin memoria",
                                                "Puerta abierta",
                                                "Desconocido",
                                                "Ahorro de energia"};
    return t;
}

QString texto(ipp_t *r, const char *nombre)
{
    ipp_attribute_t *a = ippFindAttribute(r, nombre, IPP_TAG_ZERO);
    if (!a)
        return {};
    return QString::fromUtf8(ippGetString(a, 0, nullptr));
}

struct LiberaIpp
{
    void operator()(ipp_t *r) const { ippDelete(r); }
};

} // namespace

quint32 EstadoDeCups(int printerState, const QStringList &razones, bool aceptaTrabajos)
{
    quint32 e = 0;
    if (printerState == IPP_PSTATE_PROCESSING)
        e |= ei::Imprimiendo;
    else if (printerState == IPP_PSTATE_STOPPED)
        e |= ei::Pausada;
    if (!aceptaTrabajos)
        e |= ei::NoDisponible;
    for (QString r : razones) {
        if (r.endsWith(u"-error")) {
            e |= ei::Error;
            r.chop(6);
        } else if (r.endsWith(u"-warning") || r.endsWith(u"-report")) {
            r.truncate(r.lastIndexOf(u'-'));
        }
        for (const Razon &z : Razones) {
            if (r == QLatin1String(z.nombre))
                e |= z.bit;
        }
    }
    return e;
}

QString TextoEstadoImpresora(quint32 estado)
{
    if (estado == 0)
        return QStringLiteral("Inactiva");
    QStringList partes;
    for (size_t bit = 0; bit < textos().size(); ++bit) {
        if (estado & (1u << bit))
            partes << QString::fromUtf8(textos()[bit]);
    }
    return partes.join(u", ");
}

DatosImpresora DescribeImpresora(const QString &nombre)
{
    DatosImpresora d;
    d.nombre = nombre;
    d.estado = ei::Desconocido;

    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL,
                     uri,
                     sizeof uri,
                     "ipp",
                     nullptr,
                     "localhost",
                     0,
                     "/printers/%s",
                     nombre.toUtf8().constData());
    static const char *const pedidos[] = {"printer-make-and-model",
                                          "device-uri",
                                          "printer-info",
                                          "printer-state",
                                          "printer-state-reasons",
                                          "printer-is-accepting-jobs"};
    ipp_t *pedido = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(pedido, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
    ippAddStrings(pedido,
                  IPP_TAG_OPERATION,
                  IPP_TAG_KEYWORD,
                  "requested-attributes",
                  int(std::size(pedidos)),
                  nullptr,
                  pedidos);
    // cupsDoRequest frees the request; the answer is ours.
    std::unique_ptr<ipp_t, LiberaIpp> r(cupsDoRequest(CUPS_HTTP_DEFAULT, pedido, "/"));
    if (!r || cupsLastError() > IPP_STATUS_OK_CONFLICTING) {
        d.textoEstado = TextoEstadoImpresora(d.estado);
        return d;
    }

    d.controlador = texto(r.get(), "printer-make-and-model");
    d.puerto = texto(r.get(), "device-uri");
    d.comentario = texto(r.get(), "printer-info");
    int estado = IPP_PSTATE_IDLE;
    if (ipp_attribute_t *a = ippFindAttribute(r.get(), "printer-state", IPP_TAG_ENUM))
        estado = ippGetInteger(a, 0);
    bool acepta = true;
    if (ipp_attribute_t *a
        = ippFindAttribute(r.get(), "printer-is-accepting-jobs", IPP_TAG_BOOLEAN))
        acepta = ippGetBoolean(a, 0);
    QStringList razones;
    if (ipp_attribute_t *a = ippFindAttribute(r.get(), "printer-state-reasons", IPP_TAG_KEYWORD)) {
        for (int i = 0; i < ippGetCount(a); ++i)
            razones << QString::fromUtf8(ippGetString(a, i, nullptr));
    }
    d.estado = EstadoDeCups(estado, razones, acepta);
    d.textoEstado = TextoEstadoImpresora(d.estado);
    return d;
}

} // namespace lar
