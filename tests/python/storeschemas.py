"""The key schemas the Python module's tests load, and the identifiers of
their keys."""
import corvconfigstore as cs

SCHEMAS = {
    "corv": {
        "net": {
            # One value (a singleton).
            "dns": {
                "type": "object",
                "additionalProperties": False,
                "properties": {
                    "servers": {"type": "array", "items": {"type": "string", "format": "ipv4"},
                                "maxItems": 3},
                    "ndots": {"type": "integer", "minimum": 0, "maximum": 15, "default": 1},
                    "rotate": {"type": "boolean"},
                },
            },
            # One instance per interface name, with a vital and a cached member.
            "nics": {
                "type": "array",
                "items": {
                    "type": "object",
                    "required": ["name"],
                    "additionalProperties": False,
                    "properties": {
                        "name": {"type": "string", "instanceId": True},
                        "enabled": {"type": "boolean", "default": True},
                        "mtu": {"type": "integer", "minimum": 68, "maximum": 65536},
                        "macAddress": {"type": "string", "vital": True},
                        "linkSpeed": {"type": "integer", "cached": True},
                    },
                },
            },
        },
        "boot": {
            # Written only through the next-boot store.
            "firmware": {
                "type": "object",
                "tags": ["@rebootRequiredConfigStore"],
                "additionalProperties": False,
                "properties": {"secureBoot": {"type": "boolean"}, "order": {"type": "string"}},
            },
            "devices": {
                "type": "array",
                "tags": ["@rebootRequiredConfigStore"],
                "items": {
                    "type": "object",
                    "required": ["slot"],
                    "additionalProperties": False,
                    "properties": {
                        "slot": {"type": "string", "instanceId": True},
                        "enabled": {"type": "boolean"},
                    },
                },
            },
        },
    }
}

DNS = cs.ObjectId("dns", "net", "corv")
NICS = cs.ObjectId("nics", "net", "corv")
FIRMWARE = cs.ObjectId("firmware", "boot", "corv")
DEVICES = cs.ObjectId("devices", "boot", "corv")


def nic(name):
    """The identifier of one interface."""
    return cs.ObjectId("nics", "net", "corv", name)
