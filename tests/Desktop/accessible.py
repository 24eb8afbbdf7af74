"""What an assistive technology knows of the program."""
import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402


def application(name):
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(i)
        if child and child.get_name() == name:
            return child
    return None


def all_below(node):
    """Every node that is shown, from the top."""
    for i in range(node.get_child_count()):
        child = node.get_child_at_index(i)
        if child and child.get_state_set().contains(Atspi.StateType.SHOWING):
            yield child
            yield from all_below(child)


def find(node, role, name):
    for each in all_below(node):
        if each.get_role_name() == role and each.get_name() == name:
            return each
    return None


def press(node):
    action = node.get_action_iface()
    names = [action.get_action_name(i) for i in range(action.get_n_actions())]
    return action.do_action(next(i for i, each in enumerate(names) if each in ("Press", "Toggle", "click", "press")))


CONTROLS = {"push button", "check box", "radio button", "combo box", "spin button", "slider", "text", "tree",
            "tree table", "table", "list", "toggle button"}


def label_of(node):
    for relation in node.get_relation_set():
        if relation.get_relation_type() == Atspi.RelationType.LABELLED_BY:
            return relation.get_target(0).get_name()
    return ""


def is_checked(node):
    return node.get_state_set().contains(Atspi.StateType.CHECKED)


def takes_keyboard(node):
    states = node.get_state_set()
    return states.contains(Atspi.StateType.FOCUSABLE) or not states.contains(Atspi.StateType.ENABLED)
