#include "links/DaemonNames.h"

namespace corvane::daemon {

const char* introspectionXml() {
    return R"xml(<node>
  <interface name="com.halvorn.corvanebardaemon">
    <method name="infoForPids">
      <arg name="pids" type="ax" direction="in"/>
      <arg name="info" type="av" direction="out"/>
    </method>
    <method name="version">
      <arg name="version" type="d" direction="out"/>
      <arg name="build" type="x" direction="out"/>
    </method>
    <method name="fps"><arg name="fps" type="d" direction="out"/></method>
    <method name="exists"><arg name="exists" type="b" direction="out"/></method>
    <method name="enableHierachy"/>
    <method name="disableHierachy"/>
    <method name="startRequestWithKey">
      <arg name="key" type="x" direction="in"/>
      <arg name="interval" type="x" direction="in"/>
    </method>
    <method name="stopRequestWithKey"><arg name="key" type="x" direction="in"/></method>
    <method name="smartTemps"/>
    <method name="startSMARTStatus"/>
    <method name="stopSMARTStatus"/>
    <method name="startSMARTTemps"/>
    <method name="stopSMARTTemps"/>
    <method name="refreshDHCP"><arg name="interface" type="s" direction="in"/></method>
    <method name="toggleAirPortPower"/>
    <method name="setNetworkSet"><arg name="set" type="s" direction="in"/></method>
    <method name="setFanSet"><arg name="fans" type="av" direction="in"/></method>
    <method name="setT2FanConfig">
      <arg name="config" type="a{sv}" direction="in"/>
      <arg name="result" type="a{sv}" direction="out"/>
    </method>
    <method name="setT2FanSet"><arg name="set" type="a{sv}" direction="in"/></method>
    <method name="stopT2Fans"><arg name="result" type="a{sv}" direction="out"/></method>
    <method name="startT2Fans"><arg name="result" type="a{sv}" direction="out"/></method>
    <method name="finalizeT2Fans"><arg name="result" type="a{sv}" direction="out"/></method>
    <method name="setT2SafetyTemperature">
      <arg name="temperature" type="d" direction="in"/>
    </method>
    <method name="sensors">
      <arg name="keys" type="av" direction="in"/>
      <arg name="readings" type="av" direction="out"/>
    </method>
    <method name="armSensors">
      <arg name="rows" type="av" direction="in"/>
      <arg name="sensors" type="av" direction="out"/>
    </method>
    <method name="supportedSensors">
      <arg name="rows" type="av" direction="in"/>
      <arg name="sensors" type="a{sv}" direction="out"/>
    </method>
    <method name="supportedFans">
      <arg name="rows" type="av" direction="in"/>
      <arg name="fans" type="av" direction="out"/>
    </method>
    <method name="machineSerial"><arg name="serial" type="s" direction="out"/></method>
    <signal name="daemonResponse"><arg name="response" type="a{sv}"/></signal>
  </interface>
</node>)xml";
}

} // namespace corvane::daemon
