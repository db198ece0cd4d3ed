xquery version "3.1";

(: Cookies, of which only those that tell something about the user keep their value. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $browser as xs:string external;

declare function local:telling($name as xs:string?) as xs:boolean {
  matches($name, "^(user|uid|login|mail|lang|loc)", "i")
};

<results kind="cookie" source="{ $browser }">{
  for $cookie in ev:records($evidence, "cookies", "cookie")
  let $name := ev:field($cookie, "name")
  order by ev:field($cookie, "host"), $name
  return
    <cookie host="{ ev:field($cookie, 'host') }" name="{ $name }">{
      ev:attribute("id", $cookie/@id),
      ev:origin($cookie),
      ev:element("created", ev:field($cookie, "created")),
      ev:element("expires", ev:field($cookie, "expires")),
      if (local:telling($name)) then ev:element("value", ev:field($cookie, "value")) else ()
    }</cookie>
}</results>
