"""State documents of switches as large as they get, made up by rule: what a test expects of a row
follows from its numbers."""

import json


def intf(number):
    return f"Ethernet{number // 48 + 1}/{number % 48 + 1}"


def _vlan(vlan, intfs):
    edges = ",".join(f'"{name}":{(vlan * 7 + n) % 65536}' for n, name in enumerate(intfs))
    return (f'{{"vlan":{vlan},"vni":{10000 + vlan},"vfi":{4096 + vlan},"mcastIndex":{vlan},'
            f'"vlanSvp":{20000 + vlan},"edgePorts":{{{edges}}}}}')


def vxlan(vlans, intfsPerVlan):
    """VLANs 1 to `vlans`, each on the same interfaces."""
    intfs = [intf(n) for n in range(intfsPerVlan)]
    return ('{"version":1,"vxlan":{"vlans":['
            + ",".join(_vlan(vlan, intfs) for vlan in range(1, vlans + 1)) + "]}}")


def oneVlanOnMany(intfs):
    """One VLAN on many interfaces."""
    return ('{"version":1,"vxlan":{"vlans":['
            + _vlan(10, [intf(n) for n in range(intfs)]) + "]}}")


def translations(rows, perIntf=1000):
    """As many rows in each table by interface and VLAN."""
    def table(row):
        return [row(intf(n // perIntf), n % perIntf + 1) for n in range(rows)]
    return json.dumps({"version": 1, "vlanTranslation": {
        "ingress": {
            "portVlans": table(lambda name, tag: {
                "interface": name, "dot1qTag": tag, "vlan": tag % 4094 + 1, "svp": tag + 100})},
        "egress": {
            "portVlans": table(lambda name, vlan: {
                "interface": name, "outerVlan": vlan, "dot1qTag": vlan}),
            "dvpVlans": table(lambda name, vlan: {
                "interface": name, "vlan": vlan, "dvp": vlan + 100, "dot1qTag": vlan})}}})


def ranges(intfs, rangesPerIntf=16, silent=0):
    """Interfaces with ranges, and `silent` more behind them that ask for none."""
    names = [intf(n) for n in range(intfs + silent)]
    return json.dumps({
        "version": 1,
        "l2TableFeature": {"ingVlanRange": True, "ingVlanDynamicRange": True},
        "interfaces": {name: {"port": {"module": n // 256, "port": n % 256, "logicalFap": n // 256},
                              "hwIndex": n % 65536} for n, name in enumerate(names)},
        "vlanRanges": {
            "size": 8,
            "scale": {name: 4 + n % 8 for n, name in enumerate(names[:intfs])},
            "programmed": [{"interface": name,
                            "ranges": [f"{10 * i + 10}-{10 * i + 14}"
                                       for i in range(rangesPerIntf)]}
                           for name in names[:intfs]]}})
