// A picture from Node.js, with koffi (npm install koffi) and ocellus.dll beside this file:
//     node take_pictures.js C:\full\path\of\picture.jpg
'use strict';
const koffi = require('koffi');
const path = require('path');

const kStillCaptured = 2623; // CAM_MESSAGE_STILL_CAPTURED
const kTimeout = 10000;

const library = koffi.load(process.env.OCELLUS_DLL || path.join(__dirname, 'ocellus.dll'));
const user32 = koffi.load('user32.dll');

// The callback's pixels are the library's, and gone when it returns.
const FrameCallback = koffi.proto('void __stdcall FrameCallback(void *, uint32_t, int32_t, int32_t, uint32_t)');
const functions = {
  camInit: library.func('int32_t __stdcall camInit(void *window, str16 settingsFile, str16 settingsSection)'),
  camShutDown: library.func('int32_t __stdcall camShutDown()'),
  camStartPreview: library.func('int32_t __stdcall camStartPreview()'),
  camSetEventsWindow: library.func('int32_t __stdcall camSetEventsWindow(void *window)'),
  camSnapPicture: library.func('int32_t __stdcall camSnapPicture(str16 file, int mode)'),
  camRegisterPreviewCallback: library.func('int32_t __stdcall camRegisterPreviewCallback(FrameCallback *callback)'),
};

const Message = koffi.struct('Message', { window: 'void *', message: 'uint32_t', wParam: 'uintptr_t', lParam: 'intptr_t', time: 'uint32_t', x: 'int32_t', y: 'int32_t' });
const CreateWindowExW = user32.func('void *__stdcall CreateWindowExW(uint32_t, str16, str16, uint32_t, int, int, int, int, void *, void *, void *, void *)');
const PeekMessageW = user32.func('int __stdcall PeekMessageW(_Out_ Message *message, void *window, uint32_t first, uint32_t last, uint32_t remove)');
const DispatchMessageW = user32.func('intptr_t __stdcall DispatchMessageW(Message *message)');

// Calls the library on another thread: its threads wait for callbacks, which run in this one.
function call(name, ...values) {
  return new Promise((resolve, reject) => {
    functions[name].async(...values, (error, result) => {
      if (error) reject(error);
      else if (result !== 0) reject(new Error(`${name} failed: 0x${(result >>> 0).toString(16)}`));
      else resolve();
    });
  });
}

// Looks now and then whether it has come.
function until(hasCome, failure) {
  return new Promise((resolve, reject) => {
    const end = Date.now() + kTimeout;
    const timer = setInterval(() => {
      const come = hasCome();
      if (!come && Date.now() < end) return;
      clearInterval(timer);
      if (come) resolve();
      else reject(new Error(failure));
    }, 20);
  });
}

// Node has no message loop.
function takeMessages(wanted) {
  const message = {};
  let seen = false;
  while (PeekMessageW(message, null, 0, 0, 1)) {
    seen = seen || message.message === wanted;
    DispatchMessageW(message);
  }
  return seen;
}

async function main(file) {
  const window = CreateWindowExW(0, 'STATIC', 'events', 0, 0, 0, 0, 0, null, null, null, null);
  let frames = 0;
  const onFrame = koffi.register(() => { frames += 1; }, koffi.pointer(FrameCallback));
  try {
    await call('camInit', null, null, null);
    await call('camSetEventsWindow', window);
    await call('camRegisterPreviewCallback', onFrame);
    await call('camStartPreview');
    await until(() => frames > 0, 'the camera sends no frames within ten seconds');
    await call('camSnapPicture', file, 0);
    await until(() => takeMessages(kStillCaptured), 'the camera took no picture within ten seconds');
    console.log(`${file}, after ${frames} frames of preview`);
  } finally {
    await call('camRegisterPreviewCallback', null);
    await call('camShutDown');
    koffi.unregister(onFrame);
  }
}

if (process.argv.length !== 3) {
  console.error('take_pictures: name the file of the picture, with its full path');
  process.exit(2);
}
main(process.argv[2]).catch((error) => {
  console.error(error.message);
  process.exit(1);
});
