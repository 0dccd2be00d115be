// Device hardware drawn over a screen: the camera cut-out and a hairline of
// bezel, so a light screen still has an edge inside the white ring. The live
// preview's screen and the store image draw the same, in device pixels.

"use strict";

function hardwareHtml(os) {
  const d = DEVICES[os] || DEVICES.ios;
  const bezel =
    '<div style="position:absolute;inset:0;border-radius:' +
    d.radius +
    'px;box-shadow:inset 0 0 0 1.6px rgba(8,8,10,0.85);pointer-events:none;z-index:90"></div>';
  if (os === "android") {
    return (
      bezel +
      '<div style="position:absolute;left:50%;top:15px;width:13px;height:13px;margin-left:-6.5px;border-radius:50%;background:#050506;box-shadow:0 0 0 1.5px rgba(255,255,255,0.05);pointer-events:none;z-index:91"></div>'
    );
  }
  return (
    bezel +
    '<div style="position:absolute;left:50%;top:11px;width:124px;height:36px;margin-left:-62px;border-radius:18px;background:#050506;pointer-events:none;z-index:91"></div>'
  );
}
