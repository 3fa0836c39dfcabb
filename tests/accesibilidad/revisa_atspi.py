#!/usr/bin/python3
"""The running program as an assistive client sees it on the AT-SPI bus.

Run inside a session bus and an X display (atspi.sh sets both up): starts the
program on a prepared stand-in Microsip, logs in through the bus alone (typing
into the fields and pressing "Aceptar" by their accessible actions), then checks
that every ribbon entry is on the bus under its tab and group as a named push
button, collapsed or not, that every focusable control of the login dialog and
the main window has a name and a role of its own, and leaves by "Salir".

    revisa_atspi.py PROGRAMA CARPETA_ENTORNO
Exit: 0 all well, 1 a fault (listed), 77 the bus can't be reached.
LAR_FB_PASSWORD is the password typed (a server profile wants it; the embedded
engine takes any); LAR_ATSPI_CAPTURAS names a folder for pictures of the screen
at the login and after it.
"""
import os
import subprocess
import sys
import time

try:
    import pyatspi
except ImportError:
    print("SKIP: python3-pyatspi no está instalado")
    sys.exit(77)

NOMBRE_APP = "Larvenos Punto de Venta"
ENTRADAS = [
    ("Catálogos", "Artículos", "Artículos con puntos"),
    ("Operación", "Operaciónes", "Canje de puntos"),
    ("Operación", "Operaciónes", "Asigna o Retira Puntos a Clientes"),
    ("Operación", "Operaciónes", "Asignar puntos por actividad a Empleados"),
    ("Reportes", "Reportes", "Compras por cliente"),
    ("Reportes", "Reportes", "Artículos más vendidos"),
    ("Reportes", "Reportes", "Buscador clientes"),
    ("Reportes", "Reportes", "Historial puntos"),
    ("Sistema", "Seguridad", "Permisos del sistema"),
    ("Sistema", "Sistema", "Base de Datos"),
    ("Sistema", "Sistema", "Configuración del sistema"),
    ("Sistema", "Sistema", "Acerca de"),
]
# Roles that say nothing of what a control is.
SIN_PAPEL = {pyatspi.ROLE_UNKNOWN, pyatspi.ROLE_FILLER, pyatspi.ROLE_PANEL, pyatspi.ROLE_INVALID}

faltas = []


def espera(condicion, segundos=30, paso=0.2):
    fin = time.time() + segundos
    while time.time() < fin:
        try:
            r = condicion()
        except Exception:  # the tree changes under us while windows open
            r = None
        if r:
            return r
        time.sleep(paso)
    return None


def hijos(nodo):
    try:
        return [nodo.getChildAtIndex(i) for i in range(nodo.childCount)]
    except Exception:
        return []


def descendientes(nodo, profundidad=0):
    if nodo is None or profundidad > 40:
        return
    yield nodo
    for h in hijos(nodo):
        if h is not None:
            yield from descendientes(h, profundidad + 1)


def aplicacion():
    escritorio = pyatspi.Registry.getDesktop(0)
    for app in hijos(escritorio):
        if app is not None and app.name == NOMBRE_APP:
            return app
    return None


def ventana(app, prueba):
    for v in hijos(app):
        if v is not None and prueba(v):
            return v
    return None


def primero(raiz, rol, nombre=None):
    for n in descendientes(raiz):
        if n.getRole() == rol and (nombre is None or n.name == nombre):
            return n
    return None


def pulsa(nodo):
    accion = nodo.queryAction()
    for i in range(accion.nActions):
        if accion.getName(i) in ("Press", "press", "click", "SetFocus") or i == accion.nActions - 1:
            accion.doAction(i)
            return
    faltas.append("sin acción: %s" % nodo.name)


def captura(nombre):
    """The whole X screen, when LAR_ATSPI_CAPTURAS names a folder for it."""
    carpeta = os.environ.get("LAR_ATSPI_CAPTURAS")
    if carpeta:
        time.sleep(1)
        subprocess.run(["import", "-window", "root", os.path.join(carpeta, nombre)], check=False)


def revisa_enfocables(raiz, donde):
    revisados = 0
    for n in descendientes(raiz):
        estados = n.getState()
        if not estados.contains(pyatspi.STATE_FOCUSABLE) or not estados.contains(pyatspi.STATE_SHOWING):
            continue
        revisados += 1
        if n.getRole() in SIN_PAPEL:
            faltas.append("%s: %s sin papel propio (%s)" % (donde, n.name, n.getRoleName()))
        if not (n.name or "").strip():
            faltas.append("%s: un %s sin nombre" % (donde, n.getRoleName()))
    print("%s: %d controles enfocables revisados" % (donde, revisados))
    if revisados == 0:
        faltas.append("%s: ningún control enfocable en el bus" % donde)


def vuelca(nodo, sangria=0):
    """The tree as the bus gives it, to see what went missing."""
    if nodo is None or sangria > 30:
        return
    print("%s%s %r" % ("  " * sangria, nodo.getRoleName(), nodo.name))
    for h in hijos(nodo):
        vuelca(h, sangria + 1)


def entradas_del_ribbon(principal):
    ribbon = primero(principal, pyatspi.ROLE_PAGE_TAB_LIST, "Cinta de opciones")
    if ribbon is None:
        vuelca(principal)
        faltas.append("la cinta de opciones no está en el bus")
        return [], [], None
    vistas, fuera = [], []
    for tab in hijos(ribbon):
        if tab.getRole() == pyatspi.ROLE_PUSH_BUTTON:
            fuera.append(tab.name)
            continue
        for grupo in hijos(tab):
            for b in hijos(grupo):
                if b.getRole() != pyatspi.ROLE_PUSH_BUTTON:
                    faltas.append("%s no es un botón (%s)" % (b.name, b.getRoleName()))
                vistas.append((tab.name, grupo.name, b.name))
    return vistas, fuera, ribbon


def main():
    programa, carpeta = sys.argv[1], sys.argv[2]
    entorno = dict(os.environ)
    entorno.update({
        "QT_QPA_PLATFORM": "xcb",
        "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
        "QT_ACCESSIBILITY": "1",
        "LARVENOS_COMMON_APPDATA": os.path.join(carpeta, "ProgramData"),
        "LARVENOS_LOCAL_APPDATA": os.path.join(carpeta, "AppData", "Local"),
    })
    try:
        pyatspi.Registry.getDesktop(0).childCount
    except Exception as e:
        print("SKIP: el bus de accesibilidad no responde: %s" % e)
        return 77
    proceso = subprocess.Popen([programa], env=entorno)
    try:
        return revisa(proceso)
    except Exception as e:  # a program that stops answering the bus
        faltas.append("el programa dejó de responder en el bus: %s" % e)
        return 1
    finally:
        for f in faltas:
            print("FALTA: " + f)
        if proceso.poll() is None:
            proceso.kill()
            proceso.wait()


def revisa(proceso):
    app = espera(aplicacion)
    if app is None:
        print("FALTA: el programa no aparece en el bus de accesibilidad")
        return 1
    # The login, by the bus alone.
    conecta = espera(lambda: ventana(app, lambda v: v.name == NOMBRE_APP
                                     and primero(v, pyatspi.ROLE_PASSWORD_TEXT) is not None))
    if conecta is None:
        print("FALTA: el diálogo de conexión no está en el bus")
        return 1
    captura("login-atspi.png")
    revisa_enfocables(conecta, "conexión")
    usuario = primero(conecta, pyatspi.ROLE_TEXT, "Nombre de usuario:")
    clave = primero(conecta, pyatspi.ROLE_PASSWORD_TEXT, "Contraseña:")
    if usuario is None or clave is None:
        faltas.append("los campos de usuario y contraseña no llevan su nombre")
        return 1
    usuario.queryEditableText().setTextContents("SYSDBA")
    # The embedded engine takes any password; a server wants its own.
    clave.queryEditableText().setTextContents(os.environ.get("LAR_FB_PASSWORD") or "masterkey")
    aceptar = espera(lambda: (lambda b: b if b and b.getState().contains(pyatspi.STATE_ENABLED) else None)(
        primero(conecta, pyatspi.ROLE_PUSH_BUTTON, "Aceptar")), 10)
    if aceptar is None:
        faltas.append("\"Aceptar\" no está o no se habilita")
        return 1
    pulsa(aceptar)
    principal = espera(lambda: ventana(app, lambda v: v.name.endswith(" - SYSDBA")), 60)
    if principal is None:
        captura("sin-sesion.png")
        print("FALTA: la ventana principal no llegó a abrir la sesión")
        return 1
    captura("main-atspi.png")
    # Collapsed, as it starts, then unfolded by a tab's own action.
    vistas, fuera, ribbon = entradas_del_ribbon(principal)
    if vistas != ENTRADAS:
        faltas.append("entradas en el bus, plegada: %r" % vistas)
    print("cinta plegada: %d entradas en el bus" % len(vistas))
    if fuera != ["Salir"]:
        faltas.append("junto a las pestañas: %r" % fuera)
    if ribbon is not None:
        pulsa(hijos(ribbon)[3])
        time.sleep(0.5)
        vistas, _, _ = entradas_del_ribbon(principal)
        if vistas != ENTRADAS:
            faltas.append("entradas en el bus, desplegada: %r" % vistas)
        for n in descendientes(ribbon):
            if n.getRole() == pyatspi.ROLE_PUSH_BUTTON and n.name == "Base de Datos":
                if not n.getState().contains(pyatspi.STATE_SHOWING):
                    faltas.append("\"Base de Datos\" no se ve con su pestaña desplegada")
    revisa_enfocables(principal, "ventana principal")
    salir = primero(principal, pyatspi.ROLE_PUSH_BUTTON, "Salir")
    if salir is None:
        faltas.append("\"Salir\" no está en el bus")
        return 1
    pulsa(salir)
    try:
        proceso.wait(timeout=20)
    except subprocess.TimeoutExpired:
        faltas.append("\"Salir\" no cerró el programa")
    return 1 if faltas else 0


if __name__ == "__main__":
    sys.exit(main())
