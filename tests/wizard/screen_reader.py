"""What a screen reader says of a program, by the events and objects of the accessibility bus."""

import re

from wizard_program import Atspi, GLib, WizardTest

EVENTS = ("window:activate", "object:state-changed:focused", "object:state-changed:showing",
          "object:state-changed:checked", "object:state-changed:indeterminate", "object:state-changed:expanded",
          "object:active-descendant-changed", "object:announcement")
OPTIONS = ("check box", "radio button")
ALERT = "alert"
PAGE = "page tab"
CELL = "table cell"


def has(widget, state):
    return widget.get_state_set().contains(state)


def children(widget):
    found = (widget.get_child_at_index(index) for index in range(widget.get_child_count()))
    return [child for child in found if child is not None and has(child, Atspi.StateType.SHOWING)]


class ScreenReader:
    """Begins with a window and what has the focus in it, and hears that process from now on. What is said of it is in
    `said`, a line each, but for what comes whenever it is time for it, which is in `announced`.

    As screen readers do, it says a focus once, with the page that it has come into, and passes over changes of what has
    no focus. The texts of a page, a window or an alert come with these.
    """

    def __init__(self, window, focus):
        self.pid = None
        self.said = []
        self.announced = []
        self.page = self.focus = self.row = self.told = None
        self.window = window
        self.listener = Atspi.EventListener.new(self.on_event)
        for event in EVENTS:
            self.listener.register(event)
        self.say("window", window, WizardTest.role(window), "")
        self.take_focus(focus)
        # What comes while this is looked at is about how it came to be so.
        self.pid = window.get_process_id()

    def stop(self):
        for event in EVENTS:
            self.listener.deregister(event)

    @staticmethod
    def listen():
        """Takes in what has happened so far."""
        while GLib.MainContext.default().iteration(False):
            pass

    def on_event(self, event):
        try:
            if event.source.get_process_id() == self.pid:
                self.take(event.type, event.source, event)
        except GLib.Error:
            # What it was about has gone.
            pass

    def take(self, kind, source, event):
        role = WizardTest.role(source)
        if kind == "window:activate":
            self.take_window(source, role)
        elif kind == "object:announcement":
            self.announced.append(event.any_data)
        elif kind == "object:active-descendant-changed":
            self.row = event.any_data
            self.told = self.state_of_row(self.row)
            self.add("row: " + self.told)
        elif kind.endswith(("checked", "indeterminate", "expanded")):
            self.take_change(source)
        elif not event.detail1:
            pass
        elif kind.endswith("showing"):
            # Windows are told when they get the focus.
            if role == ALERT and WizardTest.role(source.get_parent()) != "application":
                # What it holds has come into view with it, but the news of that may still be on its way.
                source.clear_cache()
                self.say("alert", source, "", self.words(source))
        elif role == PAGE:
            self.take_page(source)
        elif role != CELL:
            self.take_focus(source)

    def take_window(self, window, role):
        if window != self.window:
            self.window, self.focus = window, None
            self.say("window", window, role, self.words(window) if role == ALERT else "")

    def take_page(self, page):
        if page != self.page:
            self.page, self.focus = page, None
            self.say("page", page, "", self.description(page))

    def take_focus(self, widget):
        if widget == self.focus:
            return
        outer = widget
        while outer is not None and WizardTest.role(outer) != PAGE:
            outer = outer.get_parent()
        if outer is not None:
            self.take_page(outer)
        self.focus, self.row = widget, None
        self.told = self.state(widget)
        self.say("focus", widget, WizardTest.role(widget), self.description(widget))

    def take_change(self, source):
        if source == self.focus:
            state = self.state(source)
        elif self.row is not None and self.row in (source, source.get_parent()):
            state = self.state_of_row(self.row)
        else:
            return
        if state != self.told:
            self.told = state
            self.add("now: " + state)

    def say(self, what, widget, role, texts):
        parts = [" ".join(WizardTest.names(widget)), role, self.state(widget), self.key(widget)]
        name = ", ".join(part for part in parts if part)
        self.add("%s: %s" % (what, ". ".join(part for part in (name, texts) if part)))

    def add(self, line):
        """What is the same as before is said once: events come twice."""
        line = self.plain(line)
        if not self.said or self.said[-1] != line:
            self.said.append(line)

    @staticmethod
    def plain(text):
        """Without what differs from run to run."""
        text = re.sub(r"MEROBundle_\d{4}_\d{4}", "MEROBundle_MMDD_HHMM", text)
        return re.sub(r"\d+\.\d+\.\d+", "VERSION", re.sub(r"/\S+/home/", "HOME/", text))

    @staticmethod
    def state(widget):
        if WizardTest.role(widget) in OPTIONS:
            return "checked" if has(widget, Atspi.StateType.CHECKED) else "not checked"
        return ""

    @staticmethod
    def state_of_row(row):
        """Its text, what its check box shows, and whether it is open."""
        check, text = children(row)
        checked = "not checked"
        if has(check, Atspi.StateType.INDETERMINATE):
            checked = "partially checked"
        elif has(check, Atspi.StateType.CHECKED):
            checked = "checked"
        parts = [text.get_name(), checked]
        if has(text, Atspi.StateType.EXPANDABLE):
            parts.append("open" if has(text, Atspi.StateType.EXPANDED) else "closed")
        return ", ".join(parts)

    @staticmethod
    def key(widget):
        """The key that presses it from anywhere in its window."""
        if "Action" not in widget.get_interfaces():
            return ""
        key = re.fullmatch(r"<Alt>(.)", Atspi.Action.get_key_binding(widget, 0))
        return "Alt+" + key[1].upper() if key else ""

    @staticmethod
    def description(widget):
        """Its own, and the texts that describe it."""
        texts = [widget.get_description()]
        for relation in widget.get_relation_set():
            if relation.get_relation_type() == Atspi.RelationType.DESCRIBED_BY:
                texts += [relation.get_target(index).get_name() for index in range(relation.get_n_targets())]
        return " ".join(text for text in texts if text)

    def words(self, widget):
        """Its labels, but for those of its buttons, in their order."""
        texts = [child.get_name() if WizardTest.role(child) == "label" else self.words(child)
                 for child in children(widget) if WizardTest.role(child) != "push button"]
        return " ".join(text for text in texts if text)
