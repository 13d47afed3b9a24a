// A ring of twelve hours: styles, labels and arrows, then a change of one style that recolours all, then one hour less.
//
//     npm install && node ring.js [SECONDS]
'use strict';
const xmlrpc = require('xmlrpc');

const client = xmlrpc.createClient({ host: '127.0.0.1', port: 20738, path: '/RPC2' });
const pause = () => new Promise((resolve) => setTimeout(resolve, 1000 * Number(process.argv[2] ?? 3)));

function call(method, ...parameters) {
  return new Promise((resolve, reject) => {
    client.methodCall(`tessarel.${method}`, parameters, (error, result) => {
      if (error) reject(error);
      else if (result === -1) reject(new Error(`${method} was refused; the server's log tells why`));
      else resolve(result);
    });
  });
}

async function draw() {
  await call('clear');
  await call('new_vertex_style_w_id', 1, 0);
  await call('set_vertex_style_attribute', 1, 'color', '#3080FF');
  await call('set_vertex_style_attribute', 1, 'shape', 'sphere');
  await call('set_vertex_style_attribute', 1, 'size', '1.5');
  await call('new_vertex_style_w_id', 2, 1); // looks like style 1 but for what it says itself
  await call('set_vertex_style_attribute', 2, 'shape', 'cube');
  await call('set_vertex_style_attribute', 2, 'size', '3');
  await call('set_edge_style_attribute', 0, 'color', '#808080');
  await call('set_edge_style_attribute', 0, 'arrow', 'true');
  await call('set_edge_style_attribute', 0, 'arrow_length', '2');

  for (let hour = 1; hour <= 12; ++hour) {
    await call('new_vertex_w_id', hour);
    await call('change_vertex_style', hour, hour % 3 === 0 ? 2 : 1);
    await call('set_vertex_attribute', hour, 'label', String(hour));
  }
  for (let hour = 1; hour <= 12; ++hour) {
    await call('new_edge_w_id', hour, hour, (hour % 12) + 1);
  }

  await pause();
  await call('set_vertex_style_attribute', 1, 'color', '#FF8000'); // one call, and all are orange

  await pause();
  await call('remove_vertex', 12); // its two edges go with it
}

draw().catch((error) => {
  console.error(`ring: ${error.message}`);
  process.exitCode = 1;
});
