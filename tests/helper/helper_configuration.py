"""Configurations and requests for the helper's tests."""

from xml.sax.saxutils import escape, quoteattr

# The folder of all collected files in a bundle.
GROUP = "collected"


def _item(identity, kind, action, default):
    return ("<file id=%s directoryName=%s><gui><label>%s</label></gui><default>%s</default><description>The item %s"
            "</description><mero><os opsys='linux'><%s><action>%s</action></%s></os></mero></file>") % (
                quoteattr(identity), quoteattr(identity), escape(identity), "true" if default else "false",
                escape(identity), kind, action, kind)


def file_item(identity, path, default=True):
    """Collects the files of that path, which may end in a pattern."""
    return _item(identity, "file_copy_action", "<loc>%s</loc>" % escape(path), default)


def folder_item(identity, path, pattern="*", default=True):
    """Collects the files below that folder whose names fit."""
    return _item(identity, "directory_copy_action",
                 "<loc>%s</loc><pattern>%s</pattern>" % (escape(path), escape(pattern)), default)


def tool_item(identity, command, default=True):
    """Collects what a shell command writes, as <identity>/<name of the program>_result.txt."""
    return _item(identity, "use_extern_action", "<stdout/><args>%s</args>" % escape(command), default)


def configuration(*items):
    return ('<?xml version="1.0" encoding="UTF-8"?><configure><title>Test</title><fileGroup treeRootName="Test" '
            'directoryName="%s"><title>Test</title>%s</fileGroup></configure>') % (GROUP, "".join(items))


def request(*identities, comment="", entries=""):
    """A request as the wizard writes it, with more entries if they are given."""
    return ('<?xml version="1.0" encoding="UTF-8"?><request xmlns="http://schemas.xmlsoap.org/soap/encoding/" '
            'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" '
            'xsi:schemaLocation="http://schemas.xmlsoap.org/soap/encoding/ RequestXMLSchema.xsd">%s%s'
            "<comments><![CDATA[%s]]></comments></request>") % (
                "".join('<file id="%s"></file>' % identity for identity in identities), entries, comment)
